// Boxes over one plane of samples, up to four taps to a register: products of both weights (at most 128 *
// 128), multiplied and added in pairs. Sums and quotients are those of the plain kernels. Weights are formed
// in registers: moves between them and the processor's own are slow.
//
// A plane brings neighbouring taps as words, and single ones. At a limit the last tap may lie outside the
// texture: with no weight it is not read.
#pragma once

#include <cstring>

#include "dorbmp/mapping/spans/footprint.h"
#include "dorbmp/mapping/spans/walk_mmxext.h"

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

// The weight of tap kTap of a box [f, f + 64 * kHalfUnits), in 1/128 of a tap, in all words alike.
template <int kHalfUnits, int kTap>
DORBMP_INLINE __m64 tap_weights(__m64 f) {
  constexpr int kLast = (kHalfUnits + 1) / 2;
  if constexpr (kTap > kLast) {
    return _mm_setzero_si64();
  } else if constexpr (kHalfUnits % 2 == 0) {
    return kTap == 0 ? _mm_sub_pi16(_mm_set1_pi16(128), f) : kTap == kLast ? f : _mm_set1_pi16(128);
  } else if constexpr (kTap == kLast) {
    return _mm_subs_pu16(f, _mm_set1_pi16(64));
  } else if constexpr (kHalfUnits == 1) {
    return _mm_min_pi16(_mm_sub_pi16(_mm_set1_pi16(128), f), _mm_set1_pi16(64));
  } else {
    static_assert(kHalfUnits == 3);
    return kTap == 0 ? _mm_sub_pi16(_mm_set1_pi16(128), f)
                     : _mm_min_pi16(_mm_add_pi16(f, _mm_set1_pi16(64)), _mm_set1_pi16(128));
  }
}

// The 7-bit fractions of a position, in all words alike.
DORBMP_INLINE __m64 fractions_across(const PositionMmx& at) {
  return _mm_shuffle_pi16(_mm_srli_pi16(at.fixed, 9), 0x00);
}
DORBMP_INLINE __m64 fractions_down(const PositionMmx& at) {
  return _mm_shuffle_pi16(_mm_srli_pi16(at.fixed, 9), 0xAA);
}

// From the first tap of a box to tap kTap, `step` bytes from tap to tap; the last one where it has a weight.
template <int kHalfUnits, int kTap>
DORBMP_INLINE ptrdiff_t tap_distance(int32_t f, ptrdiff_t step) {
  if constexpr (kTap < (kHalfUnits + 1) / 2) {
    return kTap * step;
  } else if constexpr (kHalfUnits % 2 == 0) {
    return (kTap - 1) * step + (f != 0 ? step : 0);
  } else {
    // Without a branch: half the samples go either way.
    const ptrdiff_t above_64 = ptrdiff_t{64 - f} >> 31;
    return (kTap - 1) * step + (above_64 & step);
  }
}

// The luma of packed 4:2:2.
struct LumaMmx {
  static constexpr int kBytes = 2;
  static constexpr int32_t kZero = 0;
  DORBMP_INLINE static int32_t one(const uint8_t* tap) { return *tap; }
  DORBMP_INLINE static __m64 two(const uint8_t* taps) { return low_bytes(load_4_bytes(taps)); }
  DORBMP_INLINE static __m64 four(const uint8_t* taps) { return low_bytes(load_8_bytes(taps)); }
  DORBMP_INLINE static __m64 samples(__m64 taps) { return taps; }

 private:
  DORBMP_INLINE static __m64 low_bytes(__m64 words) { return _mm_and_si64(words, _mm_set1_pi16(0xFF)); }
};

// Unsigned words, less 32768 to make them signed.
struct Key16Mmx {
  static constexpr int kBytes = 2;
  static constexpr int32_t kZero = 32768;
  DORBMP_INLINE static int32_t one(const uint8_t* tap) {
    uint16_t key;
    std::memcpy(&key, tap, sizeof(key));
    return key;
  }
  DORBMP_INLINE static __m64 two(const uint8_t* taps) { return load_4_bytes(taps); }
  DORBMP_INLINE static __m64 four(const uint8_t* taps) { return load_8_bytes(taps); }
  DORBMP_INLINE static __m64 samples(__m64 taps) {
    return _mm_xor_si64(taps, _mm_set1_pi16(static_cast<int16_t>(0x8000)));
  }
};

struct Matte8Mmx {
  static constexpr int kBytes = 1;
  static constexpr int32_t kZero = 0;
  DORBMP_INLINE static int32_t one(const uint8_t* tap) { return *tap; }
  DORBMP_INLINE static __m64 two(const uint8_t* taps) {
    uint16_t both;
    std::memcpy(&both, taps, sizeof(both));
    return widen_low(_mm_cvtsi32_si64(both));
  }
  DORBMP_INLINE static __m64 four(const uint8_t* taps) { return widen_low(load_4_bytes(taps)); }
  DORBMP_INLINE static __m64 samples(__m64 taps) { return taps; }
};

template <class Plane, int kHalfWidth, int kHalfHeight>
struct BoxMmx {
  static constexpr uint32_t kDivisor = 64u * kHalfWidth * 64u * kHalfHeight;
  // Taps 0 to kInner - 1 are always needed, the last one only with a weight.
  static constexpr int kInner = kHalfWidth / 2;
  static constexpr int kLines = (kHalfHeight + 1) / 2 + 1;
  static_assert(kHalfWidth % 2 == 0);

  DORBMP_INLINE static uint32_t sample(const Texture& texture, const PositionMmx& at) {
    const uint8_t* const top = texture.line(at.line) + static_cast<ptrdiff_t>(at.column) * Plane::kBytes;
    const Taps taps{top, texture.pitch, tap_distance<kHalfWidth, kInner>(at.fx, Plane::kBytes), at.fy};
    const __m64 sums = total(taps, fractions_across(at), fractions_down(at));
    const __m64 sum = _mm_add_pi32(sums, _mm_srli_si64(sums, 32));
    return divide_to_nearest<kDivisor>(static_cast<uint32_t>(_mm_cvtsi64_si32(sum)) +
                                       static_cast<uint32_t>(Plane::kZero) * kDivisor);
  }

 private:
  struct Taps {
    const uint8_t* top;
    ptrdiff_t pitch;
    ptrdiff_t outer;  // from a line's first tap to its last one
    int32_t fy;

    template <int kLine>
    DORBMP_INLINE const uint8_t* line() const {
      return top + tap_distance<kHalfHeight, kLine>(fy, pitch);
    }
  };

  DORBMP_INLINE static __m64 total(const Taps& taps, __m64 fx, __m64 fy) {
    if constexpr (kInner == 1) {
      __m64 sums = two_lines<0>(taps, fx, fy);
      if constexpr (kLines > 2) sums = _mm_add_pi32(sums, two_lines<2>(taps, fx, fy));
      if constexpr (kLines > 4) sums = _mm_add_pi32(sums, two_lines<4>(taps, fx, fy));
      return sums;
    } else {
      return [&]<int... kLine>(std::integer_sequence<int, kLine...>) {
        __m64 sums = one_line<0>(taps, fx, fy);
        ((sums = _mm_add_pi32(sums, one_line<kLine + 1>(taps, fx, fy))), ...);
        return sums;
      }
      (std::make_integer_sequence<int, kLines - 1>{});
    }
  }

  // Both taps of a line beside those of the next one.
  template <int kLine>
  DORBMP_INLINE static __m64 two_lines(const Taps& taps, __m64 fx, __m64 fy) {
    const uint8_t* const line = taps.template line<kLine>();
    __m64 words = _mm_insert_pi16(_mm_cvtsi32_si64(Plane::one(line)), Plane::one(line + taps.outer), 1);
    __m64 down = tap_weights<kHalfHeight, kLine>(fy);
    if constexpr (kLine + 1 < kLines) {
      const uint8_t* const next = taps.template line<kLine + 1>();
      words = _mm_insert_pi16(words, Plane::one(next), 2);
      words = _mm_insert_pi16(words, Plane::one(next + taps.outer), 3);
    }
    // What is no tap has no weight.
    down = _mm_unpacklo_pi32(down, tap_weights<kHalfHeight, kLine + 1>(fy));
    return products(words, across<-1, 1, -1, 1>(fx, _mm_set_pi16(0, 128, 0, 128)), down);
  }

  template <int kLine>
  DORBMP_INLINE static __m64 one_line(const Taps& taps, __m64 fx, __m64 fy) {
    const uint8_t* const line = taps.template line<kLine>();
    const __m64 down = tap_weights<kHalfHeight, kLine>(fy);
    const int32_t outer = Plane::one(line + taps.outer);
    if constexpr (kInner == 2) {
      const __m64 words = _mm_insert_pi16(Plane::two(line), outer, 2);
      return products(words, across<-1, 0, 1, 0>(fx, _mm_set_pi16(0, 0, 128, 128)), down);
    } else if constexpr (kInner == 3) {
      const __m64 three = _mm_insert_pi16(Plane::two(line), Plane::one(line + 2 * Plane::kBytes), 2);
      return products(_mm_insert_pi16(three, outer, 3),
                      across<-1, 0, 0, 1>(fx, _mm_set_pi16(0, 128, 128, 128)), down);
    } else {
      const __m64 first = products(Plane::four(line), across<-1, 0, 0, 0>(fx, _mm_set1_pi16(128)), down);
      const __m64 last = products(_mm_cvtsi32_si64(outer), across<1, 0, 0, 0>(fx, _mm_setzero_si64()), down);
      const __m64 sum = _mm_add_pi32(first, last);
      if constexpr (kInner == 4) return sum;
      return _mm_add_pi32(sum, products(Plane::four(line + 4 * Plane::kBytes), _mm_set1_pi16(128), down));
    }
  }

  // Weights across, each -f, 0 or f beside its constant part.
  template <int16_t... kSign>
  DORBMP_INLINE static __m64 across(__m64 f, __m64 constant) {
    return _mm_add_pi16(_mm_mullo_pi16(f, _mm_setr_pi16(kSign...)), constant);
  }

  DORBMP_INLINE static __m64 products(__m64 taps, __m64 across, __m64 down) {
    return _mm_madd_pi16(Plane::samples(taps), _mm_mullo_pi16(across, down));
  }
};

}  // namespace
}  // namespace dorbmp::spans
