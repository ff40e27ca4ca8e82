// The picture that --key names, as a transition's parameter.
#pragma once

#include "dorfx/pattern.h"
#include "dorfx/stage.h"
#include "dorfx/transitions/parameters.h"

namespace dorfx {

constexpr Parameter kKeyRangeParameter = {"key-range", "full",
                                          "the picture's black and white: full 0 to 255, limited 16 to 235"};

// Of `key`, `key-invert` and `key-range`, scaled to the frame. Throws UsageError where no key is given: what
// it is for stands in the message.
Pattern read_key(const Stage& stage, const Parameters& parameters, const char* purpose);

}  // namespace dorfx
