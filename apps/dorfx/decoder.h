// A clip or picture file, decoded.
#pragma once

#include "dorfx/frame_source.h"

namespace dorfx {

// Walks through the file once to learn its length, and whether its pictures come at a constant rate; a pipe
// cannot be walked twice, so its length stays unknown.
std::unique_ptr<FrameSource> open_decoder_source(const std::string& name);

}  // namespace dorfx
