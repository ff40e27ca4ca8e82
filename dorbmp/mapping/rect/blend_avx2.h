// Area sums of eight pixels of packed 4:2:2 to pixels, in AVX2.
#pragma once

#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/vectors_avx2.h"

namespace dorbmp::mapping::avx2 {
namespace {

DORBMP_INLINE __m256i mean(__m256i sums) {
  return _mm256_srli_epi32(sums, kWeightBits);
}

DORBMP_INLINE __m128i words(__m256i lanes) {
  return _mm_packus_epi32(_mm256_castsi256_si128(lanes), high_half(lanes));
}

// Eight pixels and their coverage, from luma and chroma bytes in 32-bit lanes.
DORBMP_INLINE void put_pairs(__m256i luma, __m256i chroma, __m256i coverage, uint8_t* row, uint16_t* cover) {
  store_half(row, words(_mm256_or_si256(luma, _mm256_slli_epi32(chroma, 8))));
  store_half(cover, words(coverage));
}

// Nothing is there: the first pixel's chroma is its own, the second's the mean of both.
DORBMP_INLINE __m256i unblended_chroma(__m256i first, __m256i second) {
  const __m256i one = _mm256_srli_epi32(first, kWeightBits);
  const __m256i both = _mm256_add_epi32(second, _mm256_slli_epi32(one, kWeightBits));
  return _mm256_srli_epi32(both, kWeightBits + 1);
}

// Coverage up to which blending stays below 2^24, in the chroma of two pixels as well.
constexpr int kMostCoverage = 28672;

// The plain quotient: numbers below 2^24 are exact in single precision, and no quotient below 256 is as near
// to the next integer, from below, as to round to it with a divisor below 2^17.
DORBMP_INLINE __m256i blend_whole(__m256i sum, __m256i old, __m256i coverage) {
  const __m256i total =
      _mm256_add_epi32(_mm256_srli_epi32(sum, kCoverageBits), _mm256_mullo_epi32(old, coverage));
  const __m256i weight = _mm256_add_epi32(coverage, _mm256_set1_epi32(kPixelUnits));
  return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(total), _mm256_cvtepi32_ps(weight)));
}

// Eight wholly covered pixels: luma and the chroma of the first and the second pixel of each pair.
DORBMP_INLINE void blend_pairs(__m256i luma, __m256i first, __m256i second, uint8_t* row, uint16_t* cover) {
  const __m128i most = _mm_set1_epi16(kMostCoverage);
  const __m256i painted_once = _mm256_set1_epi32(kPixelUnits);
  const __m128i there = load_half(cover);
  if (_mm_testz_si128(there, there) != 0) {
    put_pairs(mean(luma), unblended_chroma(first, second), painted_once, row, cover);
  } else if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_max_epu16(there, most), most)) == 0xFFFF) {
    const __m256i old = _mm256_cvtepu16_epi32(load_half(row));
    const __m256i coverage = _mm256_cvtepu16_epi32(there);
    const __m256i both = _mm256_add_epi32(coverage, _mm256_shuffle_epi32(coverage, 0b10'11'00'01));
    const __m256i y = blend_whole(luma, _mm256_and_si256(old, _mm256_set1_epi32(255)), coverage);
    const __m256i uv = blend_whole(second, blend_whole(first, _mm256_srli_epi32(old, 8), both),
                                   _mm256_add_epi32(both, painted_once));
    put_pairs(y, uv, _mm256_add_epi32(coverage, painted_once), row, cover);
  } else {
    uint32_t sums[8], chroma[2][8];
    store(sums, luma);
    store(chroma[0], first);
    store(chroma[1], second);
    for (int i = 0; i < 8; ++i) {
      const int odd = i % 2, pair = i - odd;
      blend_yuy2(sums[i], chroma[odd] + pair, kFullWeight, odd, row + 2 * pair, cover + pair);
    }
  }
}

}  // namespace
}  // namespace dorbmp::mapping::avx2
