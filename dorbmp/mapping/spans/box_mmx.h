// Boxes over one plane of samples, four taps to a register: products of both weights (at most 128 * 128),
// multiplied and added in pairs. Sums and quotients are those of the plain kernels.
//
// A plane brings up to four neighbouring taps as signed words, and the one sample of the last tap, which at a
// limit may lie outside the texture and is then not read.
#pragma once

#include "dorbmp/mapping/spans/footprint.h"
#include "dorbmp/mapping/spans/walk_mmx.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

DORBMP_INLINE __m64 four_words(int32_t value) {
  return _mm_shuffle_pi16(_mm_cvtsi32_si64(value), 0);
}

// Two weights for every pair of words.
DORBMP_INLINE __m64 word_pairs(uint32_t first, uint32_t second) {
  const __m64 both = _mm_cvtsi32_si64(static_cast<int32_t>(second << 16 | first));
  return _mm_unpacklo_pi32(both, both);
}

DORBMP_INLINE __m64 load_2_bytes(const uint8_t* from) {
  uint16_t value;
  std::memcpy(&value, from, sizeof(value));
  return _mm_cvtsi32_si64(value);
}

// The luma of packed 4:2:2.
struct LumaMmx {
  static constexpr int kBytes = 2;
  static constexpr int32_t kZero = 0;
  template <int kTaps>
  DORBMP_INLINE static __m64 load(const uint8_t* tap) {
    const __m64 bytes = kTaps == 4 ? load_8_bytes(tap) : kTaps == 2 ? load_4_bytes(tap) : load_2_bytes(tap);
    return _mm_and_si64(bytes, _mm_set1_pi16(0xFF));
  }
};

// Unsigned words, less 32768 to make them signed.
struct Key16Mmx {
  static constexpr int kBytes = 2;
  static constexpr int32_t kZero = 32768;
  template <int kTaps>
  DORBMP_INLINE static __m64 load(const uint8_t* tap) {
    const __m64 words = kTaps == 4 ? load_8_bytes(tap) : kTaps == 2 ? load_4_bytes(tap) : load_2_bytes(tap);
    return _mm_xor_si64(words, _mm_set1_pi16(static_cast<int16_t>(0x8000)));
  }
};

struct Matte8Mmx {
  static constexpr int kBytes = 1;
  static constexpr int32_t kZero = 0;
  template <int kTaps>
  DORBMP_INLINE static __m64 load(const uint8_t* tap) {
    return widen_low(kTaps == 4   ? load_4_bytes(tap)
                     : kTaps == 2 ? load_2_bytes(tap)
                                  : _mm_cvtsi32_si64(*tap));
  }
};

template <class Plane, int kHalfWidth, int kHalfHeight>
struct BoxMmx {
  static constexpr uint32_t kDivisor = 64u * kHalfWidth * 64u * kHalfHeight;
  // Taps 0 to kInner - 1 are always needed, the last one only with a weight.
  static constexpr int kInner = (kHalfWidth + 1) / 2;
  using Lines = std::make_integer_sequence<int, (kHalfHeight + 1) / 2 + 1>;

  DORBMP_INLINE static uint32_t sample(const Texture& texture, const PositionMmx& at) {
    const uint8_t* const top = texture.line(at.line) + static_cast<ptrdiff_t>(at.column) * Plane::kBytes;
    const __m64 sums = total(top, texture.pitch, Across(at.fx), at.fy, Lines{});
    const __m64 sum = _mm_add_pi32(sums, _mm_srli_si64(sums, 32));
    return divide_to_nearest<kDivisor>(static_cast<uint32_t>(_mm_cvtsi64_si32(sum)) +
                                       static_cast<uint32_t>(Plane::kZero) * kDivisor);
  }

 private:
  // The weights across, in registers of four taps: the inner ones, then what is left and the last one.
  struct Across {
    __m64 first;   // 128 - f, 128, 128, 128
    __m64 single;  // the last tap of an odd count, and the outer one
    ptrdiff_t outer;

    DORBMP_INLINE explicit Across(int32_t f)
        : first(_mm_insert_pi16(four_words(128), 128 - f, 0)),
          single(word_pairs(tap_weight<kHalfWidth, kInner - 1>(f), tap_weight<kHalfWidth, kInner>(f))),
          outer(tap_offset<kHalfWidth, kInner>(f) * Plane::kBytes) {}
  };

  template <int... kLine>
  DORBMP_INLINE static __m64 total(const uint8_t* top, int32_t pitch, const Across& across, int32_t fy,
                                   std::integer_sequence<int, kLine...>) {
    __m64 sums = _mm_setzero_si64();
    ((sums = _mm_add_pi32(
          sums, line(top + static_cast<ptrdiff_t>(tap_offset<kHalfHeight, kLine>(fy)) * pitch, across,
                     four_words(static_cast<int32_t>(tap_weight<kHalfHeight, kLine>(fy)))))),
     ...);
    return sums;
  }

  DORBMP_INLINE static __m64 line(const uint8_t* taps, const Across& across, __m64 down) {
    const __m64 outer = Plane::template load<1>(taps + across.outer);
    if constexpr (kInner % 2 != 0) {
      // An odd count: its last tap goes with the outer one.
      const __m64 both =
          _mm_unpacklo_pi16(Plane::template load<1>(taps + (kInner - 1) * Plane::kBytes), outer);
      const __m64 sum = _mm_madd_pi16(low_pair(both), _mm_mullo_pi16(across.single, down));
      if constexpr (kInner == 1) return sum;
      return _mm_add_pi32(sum, products<2>(taps, across.first, down));
    } else {
      const __m64 outer_weight = _mm_srli_si64(_mm_slli_si64(across.single, 32), 48);
      __m64 sum = _mm_madd_pi16(low_word(outer), _mm_mullo_pi16(outer_weight, down));
      sum = _mm_add_pi32(sum, products < kInner == 2 ? 2 : 4 > (taps, across.first, down));
      if constexpr (kInner == 8) {
        sum = _mm_add_pi32(sum, products<4>(taps + 4 * Plane::kBytes, four_words(128), down));
      }
      return sum;
    }
  }

  template <int kTaps>
  DORBMP_INLINE static __m64 products(const uint8_t* taps, __m64 weights, __m64 down) {
    const __m64 words = Plane::template load<kTaps>(taps);
    return _mm_madd_pi16(kTaps == 2 ? low_pair(words) : words, _mm_mullo_pi16(weights, down));
  }

  // What stands beyond the taps must count for nothing.
  DORBMP_INLINE static __m64 low_pair(__m64 words) { return _mm_unpacklo_pi32(words, _mm_setzero_si64()); }
  DORBMP_INLINE static __m64 low_word(__m64 words) { return _mm_and_si64(words, _mm_cvtsi32_si64(0xFFFF)); }
};

}  // namespace
}  // namespace dorbmp::spans
