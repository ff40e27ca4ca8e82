// A wipe whose order is a picture: each pixel changes when progress passes its value.
#pragma once

#include "dorfx/pattern.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {

// Pixel lengths (softness in px, the border's width) are shares of the frame's height.
std::unique_ptr<Transition> make_pattern_wipe(const Stage& stage, const Pattern& pattern,
                                              const Softness& softness, const Border& border);

}  // namespace dorfx
