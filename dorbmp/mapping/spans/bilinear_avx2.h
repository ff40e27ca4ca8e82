// Bilinear spans of 32-bit texels, and how blocks of them are loaded and stored.
#pragma once

#include <cstring>

#include "dorbmp/mapping/spans/two_by_two_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// Two texels from each of four places.
DORBMP_INLINE __m256i load_pairs(const uint8_t* a, const uint8_t* b, const uint8_t* c, const uint8_t* d) {
  const auto load = [](const uint8_t* low, const uint8_t* high) {
    uint64_t first, second;
    std::memcpy(&first, low, sizeof(first));
    std::memcpy(&second, high, sizeof(second));
    return _mm_set_epi64x(static_cast<int64_t>(second), static_cast<int64_t>(first));
  };
  return _mm256_inserti128_si256(_mm256_castsi128_si256(load(a, b)), load(c, d), 1);
}

DORBMP_INLINE void store_block(uint8_t* to, __m256i pixels) {
  _mm256_storeu_si256(static_cast<__m256i*>(static_cast<void*>(to)), pixels);
}

// The first ones of a block. The others were sampled too, inside the limits.
DORBMP_INLINE void store_pixels(uint8_t* to, int32_t count, __m256i pixels) {
  _mm256_maskstore_epi32(static_cast<int*>(static_cast<void*>(to)), first_lanes(count), pixels);
}

// The bytes of the box of that size in two thirds of its instructions.
class Bilinear : public TwoByTwo<4> {
 public:
  Bilinear(const uint8_t* src, int32_t pitch) : TwoByTwo(src, pitch) {}

  DORBMP_INLINE __m256i pixels(const PositionsAvx2& at) const {
    Block block;
    place(block, at);
    return mix(block);
  }

  // While a block is mixed the next one is placed, so that its loads need not wait. ahead is how far from the
  // current texels those of some blocks later lie, in bytes, or 0: the texture may have to come a long way.
  template <class Walk>
  DORBMP_INLINE void run(uint8_t* to, int32_t count, Walk& walk, int64_t ahead) const {
    Block even, odd;
    place(even, walk.next());
    for (;; count -= 2 * kBlock, to += 2 * kBlock * kTexel) {
      if (count <= kBlock) return store_pixels(to, count, mix(even));
      place(odd, walk.next());
      fetch_from(odd.texels, ahead);
      store_block(to, mix(even));
      if (count <= 2 * kBlock) return store_pixels(to + kBlock * kTexel, count - kBlock, mix(odd));
      place(even, walk.next());
      fetch_from(even.texels, ahead);
      store_block(to + kBlock * kTexel, mix(odd));
    }
  }

 private:
  static constexpr int32_t kTexel = 4;

  struct Block {
    int32_t texels[kBlock];
    __m256i across;  // fx - 128 and -fx in bytes 0 and 1: a byte holds -128, but not 128
    __m256i down;    // 2 * fy in byte 1
  };

  DORBMP_INLINE void place(Block& block, const PositionsAvx2& at) const {
    TwoByTwo::place(block.texels, at);
    const __m256i fx = _mm256_srli_epi16(at.u, 9);
    block.across = _mm256_sub_epi16(_mm256_set1_epi16(128), _mm256_mullo_epi16(fx, _mm256_set1_epi16(255)));
    block.down = _mm256_and_si256(at.v, all(0xFE00));
  }

  DORBMP_INLINE __m256i mix(const Block& block) const {
    return _mm256_packus_epi16(four_pixels<0>(block), four_pixels<2>(block));
  }

  // Pixels kPixel, kPixel + 1, kPixel + 4 and kPixel + 5, a word to a channel.
  //
  // The rounded mix of a above and b below is (a + floor((b - a) * fy / 128) + 64) >> 7. A high product gives
  // the floor; from fy = 64 on its factor is negative, and it is short of b - a.
  template <int kPixel>
  DORBMP_INLINE __m256i four_pixels(const Block& block) const {
    const ptrdiff_t first = block.texels[kPixel], second = block.texels[kPixel + 1];
    const ptrdiff_t third = block.texels[kPixel + 4], fourth = block.texels[kPixel + 5];
    const auto negative_sums = [&](const uint8_t* line) {
      const __m256i texels = load_pairs(line + first * kTexel, line + second * kTexel, line + third * kTexel,
                                        line + fourth * kTexel);
      return _mm256_maddubs_epi16(
          _mm256_shuffle_epi8(texels, in_both_halves(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)),
          words_of<kPixel, 0, 1>(block.across));
    };
    const __m256i above = negative_sums(above_), below = negative_sums(below_);
    const __m256i part =
        _mm256_mulhi_epi16(_mm256_sub_epi16(above, below), words_of<kPixel, -1, 1>(block.down));
    const __m256i rest = _mm256_blendv_epi8(above, below, words_of<kPixel, 1, 1>(block.down));
    return _mm256_mulhrs_epi16(_mm256_sub_epi16(part, rest), _mm256_set1_epi16(256));
  }

  // Two bytes of a pixel's dword, or a zero, for each of its channels; the same of the next pixel.
  template <int kPixel, int kLow, int kHigh>
  DORBMP_INLINE static __m256i words_of(__m256i from) {
    constexpr int a = kLow < 0 ? -1 : 4 * kPixel + kLow, b = 4 * kPixel + kHigh;
    constexpr int c = kLow < 0 ? -1 : a + 4, d = b + 4;
    return _mm256_shuffle_epi8(from, in_both_halves(a, b, a, b, a, b, a, b, c, d, c, d, c, d, c, d));
  }
};

}  // namespace
}  // namespace dorbmp::spans::avx2
