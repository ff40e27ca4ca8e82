// The transitions of each file.
#pragma once

#include <span>

#include "dorfx/transitions/transition.h"

namespace dorfx {

std::span<const TransitionEntry> fade_entries();
std::span<const TransitionEntry> pattern_entries();
std::span<const TransitionEntry> rect_entries();
std::span<const TransitionEntry> circle_entries();
std::span<const TransitionEntry> move_entries();
std::span<const TransitionEntry> rect_move_entries();
std::span<const TransitionEntry> polygon_wipe_entries();
std::span<const TransitionEntry> turn_entries();
std::span<const TransitionEntry> cube_entries();
std::span<const TransitionEntry> title_entries();

}  // namespace dorfx
