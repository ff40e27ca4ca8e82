// The walks, eight pixels at a time. Each lane holds what the walk it stands for has at that pixel, bit for
// bit: products formed afresh, or steps added one after the other.
#pragma once

#include "dorbmp/mapping/spans/lanes_avx2.h"
#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// 16.16 texels, inside the limits.
struct PositionsAvx2 {
  __m256i u;
  __m256i v;
};

// To [0, limit], a NaN to 0, truncated.
DORBMP_INLINE __m256i clamped(__m256 at, __m256 limit) {
  return _mm256_cvttps_epi32(_mm256_min_ps(_mm256_max_ps(at, _mm256_setzero_ps()), limit));
}

// Pixel numbers of the current block.
class PixelsAvx2 {
 public:
  explicit PixelsAvx2(int32_t first) : numbers_(_mm256_add_epi32(all(first), lane_numbers())) {}

  DORBMP_INLINE __m256 next() {
    const __m256 x = _mm256_cvtepi32_ps(numbers_);
    numbers_ = _mm256_add_epi32(numbers_, _mm256_set1_epi32(kBlock));
    return x;
  }

 private:
  __m256i numbers_;
};

DORBMP_INLINE __m256 along_line(__m256 x, __m256 step, __m256 start) {
  return _mm256_add_ps(_mm256_mul_ps(x, step), start);
}

class AffineWalkAvx2 {
 public:
  AffineWalkAvx2(int32_t first, float du, float dv, float u_start, float v_start, float u_max, float v_max)
      : pixels_(first),
        du_(_mm256_set1_ps(du)),
        dv_(_mm256_set1_ps(dv)),
        u_start_(_mm256_set1_ps(u_start)),
        v_start_(_mm256_set1_ps(v_start)),
        u_max_(_mm256_set1_ps(u_max)),
        v_max_(_mm256_set1_ps(v_max)) {}

  DORBMP_INLINE PositionsAvx2 next() {
    const __m256 x = pixels_.next();
    return {clamped(along_line(x, du_, u_start_), u_max_), clamped(along_line(x, dv_, v_start_), v_max_)};
  }

 private:
  PixelsAvx2 pixels_;
  __m256 du_, dv_, u_start_, v_start_, u_max_, v_max_;
};

// As the MMX kernels walk: the steps added pixel by pixel, u and v side by side.
//
// What is added to a number stays the same while its exponent does, once it has been the same twice: a step
// halfway between two numbers goes to the even one, and stays there. Products and sums of such steps are
// exact, so eight of them go at a time.
class AddingWalkAvx2 {
 public:
  AddingWalkAvx2(int32_t first, float du, float dv, float u_start, float v_start, float u_max, float v_max)
      : step_(_mm_setr_ps(du, dv, du, dv)),
        at_(_mm_add_ps(_mm_mul_ps(_mm_set1_ps(static_cast<float>(first)), step_),
                       _mm_setr_ps(u_start, v_start, u_start, v_start))),
        u_max_(_mm256_set1_ps(u_max)),
        v_max_(_mm256_set1_ps(v_max)) {}

  DORBMP_INLINE PositionsAvx2 next() {
    if (!steady_ || !leap()) one_by_one();
    return {clamped(u_, u_max_), clamped(v_, v_max_)};
  }

 private:
  DORBMP_INLINE bool leap() {
    const __m256 u = _mm256_add_ps(u_, u_leap_), v = _mm256_add_ps(v_, v_leap_);
    const __m256i changed = _mm256_castps_si256(_mm256_or_ps(_mm256_xor_ps(u, u_), _mm256_xor_ps(v, v_)));
    if (!_mm256_testz_si256(changed, _mm256_set1_epi32(INT32_MIN >> 8))) {
      const __m128 last = _mm_unpackhi_ps(_mm256_extractf128_ps(u_, 1), _mm256_extractf128_ps(v_, 1));
      at_ = _mm_add_ps(_mm_movehl_ps(last, last), step_);
      return false;
    }
    u_ = u;
    v_ = v;
    return true;
  }

  DORBMP_INLINE void one_by_one() {
    const __m128 start = at_;
    // Pixels 0 1 | 4 5, then 2 3 | 6 7, each u v.
    const __m128 a = two(), b = two(), c = two(), d = two();
    const __m256 even = _mm256_set_m128(c, a), odd = _mm256_set_m128(d, b);
    u_ = _mm256_shuffle_ps(even, odd, 0x88);
    v_ = _mm256_shuffle_ps(even, odd, 0xDD);
    const __m128 second = _mm_movehl_ps(a, a);
    const __m128 stride = _mm_sub_ps(second, start), next = _mm_sub_ps(b, second);
    steady_ = (_mm_movemask_ps(_mm_cmpeq_ps(stride, next)) & 3) == 3;
    const __m128 leap = _mm_mul_ps(stride, _mm_set1_ps(kBlock));
    u_leap_ = _mm256_broadcastss_ps(leap);
    v_leap_ = _mm256_broadcastss_ps(_mm_movehdup_ps(leap));
  }

  DORBMP_INLINE __m128 two() {
    const __m128 first = at_, second = _mm_add_ps(first, step_);
    at_ = _mm_add_ps(second, step_);
    return _mm_movelh_ps(first, second);
  }

  __m128 step_;
  __m128 at_;  // where the next block begins, unless steady
  // Set once steady; compilers cannot see it.
  __m256 u_ = _mm256_setzero_ps(), v_ = _mm256_setzero_ps();
  __m256 u_leap_ = _mm256_setzero_ps(), v_leap_ = _mm256_setzero_ps();  // to the same lane of the next block
  __m256 u_max_, v_max_;
  bool steady_ = false;
};

class PerspectiveWalkAvx2 {
 public:
  PerspectiveWalkAvx2(int32_t first, float duq, float dvq, float uq_start, float vq_start, float dq,
                      float q_start, float u_bias, float v_bias, float u_max, float v_max)
      : pixels_(first),
        duq_(_mm256_set1_ps(duq)),
        dvq_(_mm256_set1_ps(dvq)),
        dq_(_mm256_set1_ps(dq)),
        uq_start_(_mm256_set1_ps(uq_start)),
        vq_start_(_mm256_set1_ps(vq_start)),
        q_start_(_mm256_set1_ps(q_start)),
        u_bias_(_mm256_set1_ps(u_bias)),
        v_bias_(_mm256_set1_ps(v_bias)),
        u_max_(_mm256_set1_ps(u_max)),
        v_max_(_mm256_set1_ps(v_max)) {}

  float dq() const { return _mm256_cvtss_f32(dq_); }
  float q_start() const { return _mm256_cvtss_f32(q_start_); }

  DORBMP_INLINE PositionsAvx2 next() {
    const __m256 x = pixels_.next();
    return at(x, along_line(x, dq_, q_start_));
  }

  // Of a block whose weights are known.
  DORBMP_INLINE PositionsAvx2 next(__m256 q) { return at(pixels_.next(), q); }

 private:
  DORBMP_INLINE PositionsAvx2 at(__m256 x, __m256 q) const {
    const __m256 w = _mm256_div_ps(_mm256_set1_ps(1.0f), q);
    return {clamped(along_line(along_line(x, duq_, uq_start_), w, u_bias_), u_max_),
            clamped(along_line(along_line(x, dvq_, vq_start_), w, v_bias_), v_max_)};
  }

  PixelsAvx2 pixels_;
  __m256 duq_, dvq_, dq_, uq_start_, vq_start_, q_start_, u_bias_, v_bias_, u_max_, v_max_;
};

}  // namespace
}  // namespace dorbmp::spans
