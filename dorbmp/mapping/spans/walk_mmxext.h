// The walks of the MMX kernels: (u, v) in two lanes of an SSE register, clamped and truncated there, and
// handed over in an MMX register. Single-precision SSE alone, so that nothing touches the stack of the
// floating-point unit while MMX registers are in use.
#pragma once

#include <xmmintrin.h>

#include <cstring>

#include "dorbmp/cpu/mmx.h"
#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// A point of the texture: texel, line, and the 7-bit fractions beyond them; the 16.16 coordinates themselves
// are u and v in one register.
struct PositionMmx {
  int32_t column;
  int32_t line;
  int32_t fx;
  int32_t fy;
  __m64 fixed;
};

DORBMP_INLINE __m128 pair(float u, float v) {
  return _mm_unpacklo_ps(_mm_set_ss(u), _mm_set_ss(v));
}

DORBMP_INLINE __m128 all_lanes(int32_t pixel) {
  const __m128 x = _mm_cvtsi32_ss(_mm_setzero_ps(), pixel);
  return _mm_shuffle_ps(x, x, 0);
}

// To [0, limit], a NaN to 0, truncated.
DORBMP_INLINE PositionMmx clamped(__m128 at, __m128 limit) {
  const __m64 fixed = _mm_cvttps_pi32(_mm_min_ps(_mm_max_ps(at, _mm_setzero_ps()), limit));
  const int32_t u = _mm_cvtsi64_si32(fixed);
  const int32_t v = _mm_cvtsi64_si32(_mm_srli_si64(fixed, 32));
  return {u >> 16, v >> 16, u >> 9 & 127, v >> 9 & 127, fixed};
}

// Steps added once a pixel, from the span's first pixel on.
class AddingWalk {
 public:
  AddingWalk(int32_t first, float du, float dv, float u_start, float v_start, float u_max, float v_max)
      : step_(pair(du, dv)),
        limit_(pair(u_max, v_max)),
        at_(_mm_add_ps(_mm_mul_ps(all_lanes(first), step_), pair(u_start, v_start))) {}

  bool admits(int32_t) const { return true; }
  PositionMmx at(int32_t) const { return clamped(at_, limit_); }
  void advance() { at_ = _mm_add_ps(at_, step_); }

 private:
  __m128 step_;
  __m128 limit_;
  __m128 at_;
};

// As the plain kernels walk: products formed afresh for every pixel.
class AffineWalkMmx {
 public:
  AffineWalkMmx(int32_t, float du, float dv, float u_start, float v_start, float u_max, float v_max)
      : step_(pair(du, dv)), start_(pair(u_start, v_start)), limit_(pair(u_max, v_max)) {}

  bool admits(int32_t) const { return true; }
  PositionMmx at(int32_t pixel) const {
    return clamped(_mm_add_ps(_mm_mul_ps(all_lanes(pixel), step_), start_), limit_);
  }
  void advance() {}

 private:
  __m128 step_;
  __m128 start_;
  __m128 limit_;
};

// u * q, v * q in the low lanes, q in both of the high ones.
class PerspectiveWalkMmx {
 public:
  PerspectiveWalkMmx(float duq, float dvq, float uq_start, float vq_start, float dq, float q_start,
                     float u_bias, float v_bias, float u_max, float v_max)
      : step_(_mm_movelh_ps(pair(duq, dvq), pair(dq, dq))),
        start_(_mm_movelh_ps(pair(uq_start, vq_start), pair(q_start, q_start))),
        bias_(pair(u_bias, v_bias)),
        limit_(pair(u_max, v_max)) {}

  bool admits(int32_t) const { return true; }
  PositionMmx at(int32_t pixel) const {
    const __m128 products = along_line(pixel);
    return divided(products, _mm_movehl_ps(products, products));
  }
  void advance() {}

 protected:
  __m128 along_line(int32_t pixel) const { return _mm_add_ps(_mm_mul_ps(all_lanes(pixel), step_), start_); }

  PositionMmx divided(__m128 products, __m128 q) const {
    const __m128 w = _mm_div_ps(_mm_set1_ps(1.0f), q);
    return clamped(_mm_add_ps(_mm_mul_ps(products, w), bias_), limit_);
  }

  __m128 step_;
  __m128 start_;
  __m128 bias_;
  __m128 limit_;
};

// Draws where q is strictly greater than the depth row's, and keeps the row up to date. q advances by adding.
class DepthWalkMmx : private PerspectiveWalkMmx {
 public:
  DepthWalkMmx(const PerspectiveWalkMmx& walk, int32_t first, void* depths)
      : PerspectiveWalkMmx(walk),
        q_(_mm_movehl_ps(along_line(first), along_line(first))),
        dq_(_mm_movehl_ps(step_, step_)),
        depths_(static_cast<uint8_t*>(depths)) {}

  bool admits(int32_t pixel) {
    uint8_t* const address = depths_ + static_cast<ptrdiff_t>(pixel) * static_cast<ptrdiff_t>(sizeof(float));
    float depth;
    std::memcpy(&depth, address, sizeof(depth));
    if (_mm_comigt_ss(q_, _mm_load_ss(&depth)) == 0) return false;
    _mm_store_ss(&depth, q_);
    std::memcpy(address, &depth, sizeof(depth));
    return true;
  }
  PositionMmx at(int32_t pixel) const { return divided(along_line(pixel), q_); }
  void advance() { q_ = _mm_add_ps(q_, dq_); }

 private:
  __m128 q_;
  __m128 dq_;
  uint8_t* depths_;
};

}  // namespace
}  // namespace dorbmp::spans
