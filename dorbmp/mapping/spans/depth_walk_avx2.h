// The depth-tested walk, eight pixels at a time.
#pragma once

#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// Lanes begin to end - 1.
DORBMP_INLINE __m256i lanes(int32_t begin, int32_t end) {
  return _mm256_andnot_si256(first_lanes(begin), first_lanes(end));
}

// Draws where q is strictly greater than the depth row's, and keeps the row up to date. q advances by adding,
// pixel by pixel.
class DepthWalkAvx2 {
 public:
  DepthWalkAvx2(PerspectiveWalkAvx2& walk, int32_t first, void* depths)
      : walk_(walk),
        dq_(_mm_set_ss(walk.dq())),
        q_(_mm_add_ss(_mm_mul_ss(_mm_set_ss(static_cast<float>(first)), dq_), _mm_set_ss(walk.q_start()))),
        depths_(static_cast<float*>(depths)) {}

  // Of the block at x, pixels begin to end - 1. drawn: the lanes that pass.
  DORBMP_INLINE PositionsAvx2 next(int32_t x, int32_t begin, int32_t end, __m256i& drawn) {
    const auto two = [this](bool advance) {
      const __m128 first = q_, second = advance ? _mm_add_ss(first, dq_) : first;
      q_ = _mm_add_ss(second, dq_);
      return _mm_unpacklo_ps(first, second);
    };
    // Only a span's first block begins late, by one pixel.
    const __m128 a = two(begin == 0), b = two(true), c = two(true), d = two(true);
    const __m256 q = _mm256_set_m128(_mm_movelh_ps(c, d), _mm_movelh_ps(a, b));
    float* const depths = depths_ + x;
    if (begin == 0 && end == kBlock) {
      const __m256 nearest = _mm256_loadu_ps(depths), is_nearer = _mm256_cmp_ps(q, nearest, _CMP_GT_OQ);
      // Stores by a mask are slow.
      _mm256_storeu_ps(depths, _mm256_blendv_ps(nearest, q, is_nearer));
      drawn = _mm256_castps_si256(is_nearer);
    } else {
      const __m256i inside = lanes(begin, end);
      const __m256 is_nearer = _mm256_cmp_ps(q, _mm256_maskload_ps(depths, inside), _CMP_GT_OQ);
      drawn = _mm256_and_si256(_mm256_castps_si256(is_nearer), inside);
      _mm256_maskstore_ps(depths, drawn, q);
    }
    return walk_.next(q);
  }

 private:
  PerspectiveWalkAvx2& walk_;
  __m128 dq_;
  __m128 q_;
  float* depths_;
};

}  // namespace
}  // namespace dorbmp::spans
