// Where things move, for all transitions that have a direction.
#pragma once

#include "dorfx/transitions/parameters.h"

namespace dorfx {

enum class Direction { kLeft, kRight, kUp, kDown };

constexpr bool is_vertical(Direction direction) {
  return direction == Direction::kUp || direction == Direction::kDown;
}

// Leftwards or upwards.
constexpr bool is_towards_start(Direction direction) {
  return direction == Direction::kLeft || direction == Direction::kUp;
}

// Of the parameter `direction`. Throws UsageError.
inline Direction read_direction(const Parameters& parameters) {
  static constexpr const char* kNames[] = {"left", "right", "up", "down"};
  return static_cast<Direction>(parameters.choice("direction", kNames));
}

}  // namespace dorfx
