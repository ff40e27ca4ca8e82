// The polygon that the mapping benchmarks draw, and their peers after them.
#pragma once

#include <array>
#include <cmath>

#include "bench.h"

namespace dorbmp::bench {

// A texture, enlarged by zoom, turned, and laid over the middle of the destination.
struct TurnedQuad {
  Size texture;
  Size dst;
  float zoom;
  bool perspective;
  int degrees = 10;

  std::array<PolygonVertex, 4> vertices() const {
    const float angle = 0.017453293f * static_cast<float>(degrees);
    std::array<PolygonVertex, 4> result;
    for (size_t i = 0; i < 4; ++i) {
      const float u = i == 1 || i == 2 ? static_cast<float>(texture.width) : 0.0f;
      const float v = i >= 2 ? static_cast<float>(texture.height) : 0.0f;
      const float x = (u - static_cast<float>(texture.width) / 2) * zoom;
      const float y = (v - static_cast<float>(texture.height) / 2) * zoom;
      // Slightly tilted away at the top.
      const float depth = perspective ? 1.0f - 0.1f * y / static_cast<float>(dst.height) : 1.0f;
      result[i] = {u, v, 1.0f / depth,
                   static_cast<float>(dst.width) / 2 + (std::cos(angle) * x - std::sin(angle) * y) / depth,
                   static_cast<float>(dst.height) / 2 + (std::sin(angle) * x + std::cos(angle) * y) / depth};
    }
    return result;
  }
};

inline constexpr Size kFullFrame = {1920, 1080};
// Covers every pixel of a full frame, turned by ten degrees and by any number of them.
inline constexpr float kCoveringZoom = 1.5f;
inline constexpr float kAlwaysCoveringZoom = 2.1f;

}  // namespace dorbmp::bench
