// Sums of bytes, in words, to pixels of packed 4:2:2, in AVX2.
#pragma once

#include "dorbmp/mapping/rect/blend_avx2.h"

namespace dorbmp::mapping::avx2 {
namespace {

// Sixteen pixels: luma, and chroma of the first and the second pixel of each pair.
struct PairSums {
  __m256i luma, first, second;
};

// Of sums of 2^bits bytes.
struct SumBits {
  __m128i bits, area_bits;

  SumBits(int of) : bits(_mm_cvtsi32_si128(of)), area_bits(_mm_cvtsi32_si128(kWeightBits - of)) {}

  DORBMP_INLINE __m256i mean(__m256i words) const { return _mm256_srl_epi16(words, bits); }
  DORBMP_INLINE __m256i area_sums(__m128i words) const {
    return _mm256_sll_epi32(_mm256_cvtepu16_epi32(words), area_bits);
  }
};

struct PairMeans {
  SumBits luma, first, second;

  // Wholly covered pixels.
  DORBMP_INLINE void put(const PairSums& sums, uint8_t* row, uint16_t* cover) const {
    const __m256i there = load(cover);
    if (_mm256_testz_si256(there, there) == 0) {
      return blend(*this, sums.luma, sums.first, sums.second, row, cover);
    }
    // The first pixel's chroma is its own, the second's the mean of both.
    const __m256i own = _mm256_sll_epi16(first.mean(sums.first), second.bits);
    const __m256i chroma = _mm256_srli_epi16(second.mean(_mm256_add_epi16(sums.second, own)), 1);
    store(row, _mm256_or_si256(luma.mean(sums.luma), _mm256_slli_epi16(chroma, 8)));
    store(cover, _mm256_set1_epi16(kPixelUnits));
  }

 private:
  // All by value: what is in registers stays there where nothing has been painted.
  static DORBMP_NOINLINE void blend(PairMeans of, __m256i y, __m256i one, __m256i two, uint8_t* row,
                                    uint16_t* cover) {
    of.blend_eight(_mm256_castsi256_si128(y), _mm256_castsi256_si128(one), _mm256_castsi256_si128(two), row,
                   cover);
    of.blend_eight(high_half(y), high_half(one), high_half(two), row + 16, cover + 8);
  }
  DORBMP_INLINE void blend_eight(__m128i y, __m128i one, __m128i two, uint8_t* row, uint16_t* cover) const {
    blend_pairs(luma.area_sums(y), first.area_sums(one), second.area_sums(two), row, cover);
  }
};

}  // namespace
}  // namespace dorbmp::mapping::avx2
