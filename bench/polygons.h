// The polygon that the mapping benchmarks draw, and their peers after them.
#pragma once

#include <array>
#include <cmath>

#include "bench.h"

namespace dorbmp::bench {

// A texture, shown at a size, turned and laid over the middle of the destination.
struct TurnedQuad {
  Size texture;
  Size dst;
  Size shown;
  bool perspective;
  int degrees = 5;

  std::array<PolygonVertex, 4> vertices() const {
    const float angle = 0.017453293f * static_cast<float>(degrees);
    std::array<PolygonVertex, 4> result;
    for (size_t i = 0; i < 4; ++i) {
      const float right = i == 1 || i == 2 ? 1.0f : 0.0f, bottom = i >= 2 ? 1.0f : 0.0f;
      const float x = (right - 0.5f) * static_cast<float>(shown.width);
      const float y = (bottom - 0.5f) * static_cast<float>(shown.height);
      // Slightly tilted away at the top.
      const float depth = perspective ? 1.0f - 0.1f * y / static_cast<float>(dst.height) : 1.0f;
      result[i] = {right * static_cast<float>(texture.width), bottom * static_cast<float>(texture.height),
                   1.0f / depth,
                   static_cast<float>(dst.width) / 2 + (std::cos(angle) * x - std::sin(angle) * y) / depth,
                   static_cast<float>(dst.height) / 2 + (std::sin(angle) * x + std::cos(angle) * y) / depth};
    }
    return result;
  }
};

inline constexpr Size kFullFrame = {1920, 1080};
// Covers every pixel of a full frame, turned by a few degrees and by any number of them.
inline constexpr Size kCovering = {2880, 1620};
inline constexpr Size kAlwaysCovering = {4032, 2268};

// The texture that, shown so large and turned by five degrees, is shrunk as far as a slot's filter is for;
// slot 0 takes slot 1's. What counts is how the boxes around the turned texture and around the turned polygon
// compare.
inline Size texture_for(int slot) {
  constexpr float kSine = 0.08715574f, kCosine = 0.99619470f;
  constexpr float kAcross[] = {0.9f, 1.6f, 2.3f, 3.0f, 5.7f}, kDown[] = {0.9f, 1.15f, 2.0f, 3.0f};
  const int box = slot == 0 ? 0 : slot - 1;
  const float width = static_cast<float>(kCovering.width), height = static_cast<float>(kCovering.height);
  const float across = kAcross[box % 5] * (kCosine * width + kSine * height);
  const float down = kDown[box / 5] * (kSine * width + kCosine * height);
  constexpr float kDeterminant = kCosine * kCosine - kSine * kSine;
  return {static_cast<int32_t>((kCosine * across - kSine * down) / kDeterminant),
          static_cast<int32_t>((kCosine * down - kSine * across) / kDeterminant)};
}

}  // namespace dorbmp::bench
