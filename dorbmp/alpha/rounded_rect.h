// Rectangles with rounded corners, in 1/64 of a pixel.
#pragma once

#include <algorithm>
#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::alpha {

inline constexpr int32_t kUnits = 64;  // a pixel

// One axis: the sides, and the inner bounds between which they run straight.
struct RoundedAxis {
  int64_t low;
  int64_t high;
  int64_t inner_low;
  int64_t inner_high;
  int64_t radius;
  double per_radius;  // radii a unit

  // At most half the length is radius: truncation can bring the sides a unit closer than the radii allow.
  RoundedAxis(int64_t low_side, int64_t high_side, int64_t corner)
      : low(low_side), high(high_side), radius(std::min(corner, (high - low) / 2)) {
    inner_low = low + radius;
    inner_high = high - radius;
    per_radius = radius > 0 ? 1 / static_cast<double>(radius) : 0;
  }

  // How far a position lies beyond the inner bounds, in radii.
  double beyond(double position) const {
    const double before = static_cast<double>(inner_low) - position;
    const double behind = position - static_cast<double>(inner_high);
    const double distance = before > behind ? before : behind;
    return (distance > 0 ? distance : 0) * per_radius;
  }
};

struct RoundedRect {
  RoundedAxis x;
  RoundedAxis y;

  bool has_corners() const { return x.radius > 0 && y.radius > 0; }
};

// The pixels of a plane that an extent touches.
struct PixelRange {
  int64_t first;
  int64_t end;
};

constexpr PixelRange clip(PixelRange range, int32_t size) {
  const int64_t first = std::clamp<int64_t>(range.first, 0, size);
  return {first, std::clamp<int64_t>(range.end, first, size)};
}

// Pixels that [low, high) touches, and those that it covers.
constexpr PixelRange touched(int64_t low, int64_t high, int32_t size) {
  return clip({low >> 6, (high + kUnits - 1) >> 6}, size);
}
constexpr PixelRange covered(int64_t low, int64_t high, int32_t size) {
  return clip({(low + kUnits - 1) >> 6, high >> 6}, size);
}

// Anti-aliased: true area coverage.
void draw_rounded_hard(Bitmap& plane, const RoundedRect& shape, uint32_t flags);

// From 4096 at the inner bounds to 0 at the sides, through the falloff that the flags choose.
void draw_rounded_soft(Bitmap& plane, const RoundedRect& shape, uint32_t flags);

}  // namespace dorbmp::alpha
