// Moving pictures drawn by the program: each field at its own instant.
#pragma once

#include "dorfx/frame_source.h"

namespace dorfx {

bool is_test_source(const std::string& name);

// "test:bars", "test:zone" or "test:counter", with size, rate, duration and order as values. Throws
// UsageError.
std::unique_ptr<FrameSource> make_test_source(const std::string& name);

}  // namespace dorfx
