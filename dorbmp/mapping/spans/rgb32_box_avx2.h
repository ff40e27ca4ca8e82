// Boxes over 32-bit texels, eight pixels to a block.
//
// A pixel's taps come four texels to a load and are turned channel by channel. Two products of a texel and a
// weight fit 16 bits; multiplied by a line's weight and added, they take 32. Pixels 0 to 3 of a block go
// through the low halves of the registers, pixels 4 to 7 through the high ones.
#pragma once

#include "dorbmp/mapping/spans/bilinear_avx2.h"
#include "dorbmp/mapping/spans/box_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// That of the plain kernel, or the MMX one's.
enum class Quotient { kExact, kMmx };

// The same dword four times in each half: that of pixel kPixel, and of pixel kPixel + 4.
template <int kPixel>
DORBMP_INLINE __m256i spread(__m256i values) {
  return _mm256_shuffle_epi32(values, kPixel * 0x55);
}

// Four texels in a row for both pixels.
DORBMP_INLINE __m256i load_rows(const uint8_t* low, const uint8_t* high) {
  const auto load = [](const uint8_t* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(from)));
  };
  return _mm256_inserti128_si256(_mm256_castsi128_si256(load(low)), load(high), 1);
}

// Four texels' bytes, channel by channel.
DORBMP_INLINE __m256i by_channel(__m256i texels) {
  return _mm256_shuffle_epi8(texels, in_both_halves(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}

// A box over one texture. A pixel's taps are read from a window of fixed size, which may reach beyond them
// but never beyond the texture: near the right and lower ends it begins earlier, and the weights move by as
// much.
template <int kHalfWidth, int kHalfHeight, Quotient kQuotient>
class Box {
  static constexpr int kWidth = kHalfWidth / 2;  // taps with a weight, but for the last one
  static constexpr int kLines = (kHalfHeight + 1) / 2 + 1;
  // One texel wide, two lines go through a register together.
  static constexpr bool kLinePairs = kWidth == 1;
  static constexpr uint32_t kDivisor = 64u * kHalfWidth * 64u * kHalfHeight;

 public:
  static constexpr int kWindow = kLinePairs ? 2 : 4;  // texels in a load

  // The limits of u and v tell how far the texture reaches.
  Box(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : src_(src),
        below_(src + pitch),
        pitch_(pitch),
        last_window_(last_tap<kHalfWidth>(u_max) - (kWindow - 1)),
        last_line_(last_tap<kHalfHeight>(v_max) - (kLines - 1)),
        pitches_(all(pitch)),
        last_windows_(all(last_window_)),
        last_lines_(all(last_line_)) {}

  // Whether there is room for the window.
  bool fits() const { return last_window_ >= 0 && last_line_ >= 0; }

  DORBMP_INLINE __m256i pixels(const PositionsAvx2& at) const {
    Block block;
    const __m256i fx = fraction(at.u), fy = fraction(at.v);
    const __m256i column = _mm256_srai_epi32(at.u, 16), line = _mm256_srai_epi32(at.v, 16);
    const __m256i top = _mm256_min_epi32(line, last_lines_);
    const __m256i row = _mm256_mullo_epi32(top, pitches_);
    const __m256i window = _mm256_min_epi32(column, last_windows_);
    store(block.offsets, _mm256_add_epi32(row, _mm256_slli_epi32(window, 2)));
    const __m256i columns_moved = _mm256_sub_epi32(column, window), lines_moved = _mm256_sub_epi32(line, top);
    if constexpr (kLinePairs) {
      weigh_pairs(block, fx, fy, columns_moved, lines_moved);
    } else {
      weigh_rows(block, fx, columns_moved);
      weigh_lines(block, fy, lines_moved, std::make_integer_sequence<int, kLines>{});
    }
    if constexpr (kWidth >= 4) {
      // The last tap alone, at the end of a window of its own; where that would not fit, it has no weight.
      const __m256i outer = _mm256_min_epi32(_mm256_add_epi32(column, all(kWidth - 3)), last_windows_);
      store(block.outer_offsets, _mm256_add_epi32(row, _mm256_slli_epi32(outer, 2)));
      block.outer = _mm256_slli_epi32(fx, 24);
    }

    const __m256i low = _mm256_packus_epi32(quotient(sums<0>(block)), quotient(sums<1>(block)));
    const __m256i high = _mm256_packus_epi32(quotient(sums<2>(block)), quotient(sums<3>(block)));
    return _mm256_packus_epi16(divided(low), divided(high));
  }

 private:
  struct Block {
    alignas(32) int32_t offsets[kBlock];
    alignas(32) int32_t outer_offsets[kBlock];
    __m256i across;        // weights of four taps, a byte each
    __m256i outer;         // the same of the last tap's window
    __m256i down[kLines];  // weights of lines, in both words
  };

  // A window moves by a texel or a line only where the fraction is 0: the last weight is then free to go.
  DORBMP_INLINE static void weigh_rows(Block& block, __m256i fx, __m256i moved) {
    constexpr uint32_t kInner = kWidth == 2 ? 0x8000u : kWidth == 3 ? 0x808000u : 0x80808000u;
    block.across = _mm256_or_si256(_mm256_sub_epi32(all(128), fx), all(static_cast<int32_t>(kInner)));
    if constexpr (kWidth < 4) {
      block.across = _mm256_or_si256(block.across, _mm256_slli_epi32(fx, 8 * kWidth));
      block.across = _mm256_sllv_epi32(block.across, _mm256_slli_epi32(moved, 3));
    }
  }

  template <int... kLine>
  DORBMP_INLINE static void weigh_lines(Block& block, __m256i fy, __m256i moved,
                                        std::integer_sequence<int, kLine...>) {
    const __m256i is_moved = _mm256_cmpgt_epi32(moved, _mm256_setzero_si256());
    ((block.down[kLine] = _mm256_blendv_epi8(tap_weight<kHalfHeight, kLine>(fy),
                                             tap_weight<kHalfHeight, kLine - 1>(fy), is_moved)),
     ...);
    for (__m256i& weight : block.down) weight = _mm256_or_si256(weight, _mm256_slli_epi32(weight, 16));
  }

  // Both weights negative: -128 is a signed byte, 128 is not. Across, the bytes fx - 128 and -fx, twice;
  // down, the line above in the low words and the one below in the high ones.
  DORBMP_INLINE static void weigh_pairs(Block& block, __m256i fx, __m256i fy, __m256i columns_moved,
                                        __m256i lines_moved) {
    const __m256i twice = _mm256_or_si256(fx, _mm256_slli_epi32(fx, 16));
    const __m256i bytes =
        _mm256_sub_epi16(_mm256_set1_epi16(128), _mm256_mullo_epi16(twice, _mm256_set1_epi16(255)));
    block.across = _mm256_sllv_epi32(bytes, _mm256_slli_epi32(columns_moved, 3));
    if constexpr (kLines == 2) {
      const __m256i words = _mm256_sub_epi32(_mm256_add_epi32(fy, all(0xFF80)), _mm256_slli_epi32(fy, 16));
      block.down[0] = _mm256_sllv_epi32(words, _mm256_slli_epi32(lines_moved, 4));
    } else {
      weigh_lines(block, fy, lines_moved, std::make_integer_sequence<int, kLines>{});
      for (int i = 0; i < kLines; i += 2) {
        const __m256i below = i + 1 < kLines ? block.down[i + 1] : _mm256_setzero_si256();
        block.down[i] =
            _mm256_sub_epi16(_mm256_setzero_si256(), _mm256_blend_epi16(block.down[i], below, 0xAA));
      }
    }
  }

  // Four channels of pixel kPixel and of pixel kPixel + 4.
  template <int kPixel>
  DORBMP_INLINE __m256i sums(const Block& block) const {
    const ptrdiff_t low = block.offsets[kPixel], high = block.offsets[kPixel + 4];
    __m256i total = all(kRounding);
    if constexpr (kLinePairs) {
      const __m256i across = spread<kPixel>(block.across);
      const uint8_t* above = src_;
      const uint8_t* below = below_;
      for (int line = 0; line < kLines; line += 2) {
        // An odd last line is read twice.
        if (line + 1 == kLines) below = above;
        const __m256i texels = by_channel(load_pairs(above + low, below + low, above + high, below + high));
        total = _mm256_add_epi32(
            total, _mm256_madd_epi16(_mm256_maddubs_epi16(texels, across), spread<kPixel>(block.down[line])));
        above += 2 * ptrdiff_t{pitch_};
        below += 2 * ptrdiff_t{pitch_};
      }
      return total;
    }
    const uint8_t* row_low = src_ + low;
    const uint8_t* row_high = src_ + high;
    const uint8_t* outer_low = src_ + block.outer_offsets[kPixel];
    const uint8_t* outer_high = src_ + block.outer_offsets[kPixel + 4];
    for (int line = 0; line < kLines; ++line) {
      const __m256i down = spread<kPixel>(block.down[line]);
      const auto add = [&](__m256i texels, __m256i across) {
        // Weights are unsigned here and the texels signed, less 128.
        const __m256i centred = _mm256_xor_si256(by_channel(texels), _mm256_set1_epi8(-128));
        total = _mm256_add_epi32(total, _mm256_madd_epi16(_mm256_maddubs_epi16(across, centred), down));
      };
      add(load_rows(row_low, row_high), spread<kPixel>(block.across));
      if constexpr (kWidth == 8) add(load_rows(row_low + 16, row_high + 16), _mm256_set1_epi8(-128));
      if constexpr (kWidth >= 4) {
        add(load_rows(outer_low, outer_high), spread<kPixel>(block.outer));
        outer_low += pitch_;
        outer_high += pitch_;
      }
      row_low += pitch_;
      row_high += pitch_;
    }
    return total;
  }

  // Half the divisor, and what the signed texels lack.
  static constexpr auto kRounding =
      static_cast<int32_t>(kLinePairs ? kDivisor / 2 : 128 * kDivisor + kDivisor / 2);

  // The quotient by the divisor's power of two; what is left fits a word.
  static constexpr bool kBy48 = kQuotient == Quotient::kMmx && kDivisor % 3 == 0;
  static constexpr uint32_t kOdd = kBy48 ? 48 : kDivisor >> std::countr_zero(kDivisor);

  DORBMP_INLINE static __m256i quotient(__m256i total) {
    return _mm256_srli_epi32(total, std::countr_zero(kDivisor / kOdd));
  }

  // The quotient by the rest: through reciprocals that are exact this far, but for the one by 48.
  DORBMP_INLINE static __m256i divided(__m256i words) {
    static_assert(kOdd == 1 || kOdd == 3 || kOdd == 9 || kOdd == 48);
    constexpr int16_t kReciprocal = kOdd == 3 ? 21846 : kOdd == 9 ? 7282 : 1365;
    return kOdd == 1 ? words : _mm256_mulhi_epu16(words, _mm256_set1_epi16(kReciprocal));
  }

  const uint8_t* src_;
  const uint8_t* below_;  // the second line
  int32_t pitch_;
  int32_t last_window_;
  int32_t last_line_;
  __m256i pitches_, last_windows_, last_lines_;
};

}  // namespace
}  // namespace dorbmp::spans::avx2
