// The depth-tested walk, eight pixels at a time.
#pragma once

#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// Lanes begin to end - 1.
DORBMP_INLINE __m256i lanes(int32_t begin, int32_t end) {
  const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  return _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(begin), lane),
                             _mm256_cmpgt_epi32(_mm256_set1_epi32(end), lane));
}

// Draws where q is strictly greater than the depth row's, and keeps the row up to date. q advances by adding,
// pixel by pixel.
class DepthWalkAvx2 {
 public:
  DepthWalkAvx2(int32_t first, float duq, float dvq, float uq_start, float vq_start, float dq, float q_start,
                float u_bias, float v_bias, float u_max, float v_max, void* depths)
      : dq_(_mm_set_ss(dq)),
        q_(_mm_add_ss(_mm_mul_ss(_mm_set_ss(static_cast<float>(first)), dq_), _mm_set_ss(q_start))),
        depths_(static_cast<float*>(depths)),
        duq_(_mm256_set1_ps(duq)),
        dvq_(_mm256_set1_ps(dvq)),
        uq_start_(_mm256_set1_ps(uq_start)),
        vq_start_(_mm256_set1_ps(vq_start)),
        u_bias_(_mm256_set1_ps(u_bias)),
        v_bias_(_mm256_set1_ps(v_bias)),
        u_max_(_mm256_set1_ps(u_max)),
        v_max_(_mm256_set1_ps(v_max)) {}

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

    const __m256 pixel =
        _mm256_cvtepi32_ps(_mm256_add_epi32(_mm256_set1_epi32(x), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)));
    const __m256 w = _mm256_div_ps(_mm256_set1_ps(1.0f), q);
    return {clamped(along_line(along_line(pixel, duq_, uq_start_), w, u_bias_), u_max_),
            clamped(along_line(along_line(pixel, dvq_, vq_start_), w, v_bias_), v_max_)};
  }

 private:
  __m128 dq_;
  __m128 q_;
  float* depths_;
  __m256 duq_, dvq_, uq_start_, vq_start_, u_bias_, v_bias_, u_max_, v_max_;
};

}  // namespace
}  // namespace dorbmp::spans
