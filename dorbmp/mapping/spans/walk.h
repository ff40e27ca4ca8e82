// Where on the texture each pixel of a span lies. Products are formed afresh for every pixel, multiply then
// add; nothing may be contracted or carried from pixel to pixel.
#pragma once

#ifdef __SSE__
#include <xmmintrin.h>
#endif

#include <cstring>

#include "dorbmp/compiler.h"
#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// A point of the texture in 16.16 texels and lines, inside the limits.
struct Position {
  int32_t u;
  int32_t v;
};

// To [0, limit], truncated. A NaN becomes 0, whatever made it.
DORBMP_INLINE int32_t clamped(float value, float limit) {
#ifdef __SSE__
  // The same in three instructions; compilers make branches of it.
  const __m128 positive = _mm_max_ss(_mm_set_ss(value), _mm_setzero_ps());
  return _mm_cvttss_si32(_mm_min_ss(positive, _mm_set_ss(limit)));
#else
  value = value > 0.0f ? value : 0.0f;
  return static_cast<int32_t>(value < limit ? value : limit);
#endif
}

struct AffineWalk {
  float du, dv, u_start, v_start, u_max, v_max;

  bool admits(int32_t) const { return true; }
  void advance() {}

  Position at(int32_t pixel) const {
    const float x = static_cast<float>(pixel);
    return {clamped(x * du + u_start, u_max), clamped(x * dv + v_start, v_max)};
  }
};

struct PerspectiveWalk {
  float duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max;

  bool admits(int32_t) const { return true; }
  void advance() {}

  Position at(int32_t pixel) const {
    const float x = static_cast<float>(pixel);
    return at(x, x * dq + q_start);
  }

  Position at(float x, float q) const {
    const float w = 1.0f / q;
    return {clamped((x * duq + uq_start) * w + u_bias, u_max),
            clamped((x * dvq + vq_start) * w + v_bias, v_max)};
  }
};

// Draws where the weight is strictly greater than the depth row's, and keeps the row up to date. The weight
// advances by adding.
class DepthWalk {
 public:
  DepthWalk(const PerspectiveWalk& walk, int32_t first, void* depths)
      : walk_(walk),
        q_(static_cast<float>(first) * walk.dq + walk.q_start),
        depths_(static_cast<uint8_t*>(depths)) {}

  bool admits(int32_t pixel) {
    // The row may lie anywhere: hosts pass what they have.
    uint8_t* const depth = depths_ + static_cast<ptrdiff_t>(pixel) * static_cast<ptrdiff_t>(sizeof(float));
    float nearest;
    std::memcpy(&nearest, depth, sizeof(nearest));
    if (!(q_ > nearest)) return false;
    std::memcpy(depth, &q_, sizeof(q_));
    return true;
  }

  void advance() { q_ += walk_.dq; }

  Position at(int32_t pixel) const { return walk_.at(static_cast<float>(pixel), q_); }

 private:
  PerspectiveWalk walk_;
  float q_;
  uint8_t* depths_;
};

}  // namespace
}  // namespace dorbmp::spans
