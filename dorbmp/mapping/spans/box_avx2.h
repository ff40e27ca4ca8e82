// Boxes over one plane of samples, a pixel to a lane. A plane gathers two neighbouring taps at a time, as
// signed words; near the right and lower ends of the texture the window of taps begins earlier and the
// weights move by as much, so that nothing outside is read.
#pragma once

#include <algorithm>
#include <bit>
#include <utility>

#include "dorbmp/mapping/spans/tables.h"
#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// The 7-bit fraction of coordinates.
DORBMP_INLINE __m256i fraction(__m256i at) {
  return _mm256_and_si256(_mm256_srai_epi32(at, 9), all(127));
}

// The weight of tap kTap of a box [f, f + 64 * kHalfUnits), in 1/128 of a tap.
template <int kHalfUnits, int kTap>
DORBMP_INLINE __m256i tap_weight(__m256i f) {
  constexpr int kLast = (kHalfUnits + 1) / 2;
  if constexpr (kTap < 0 || kTap > kLast) {
    return _mm256_setzero_si256();
  } else if constexpr (kHalfUnits % 2 == 0) {
    return kTap == 0 ? _mm256_sub_epi32(all(128), f) : kTap == kLast ? f : all(128);
  } else {
    const __m256i end = _mm256_min_epi32(_mm256_add_epi32(f, all(64 * kHalfUnits)), all(128 * (kTap + 1)));
    const __m256i overlap = _mm256_sub_epi32(end, _mm256_max_epi32(f, all(128 * kTap)));
    return _mm256_max_epi32(overlap, _mm256_setzero_si256());
  }
}

// The last texel or line a box of that side reaches, from the limit of its first one.
template <int kHalfUnits>
DORBMP_INLINE int32_t last_tap(float limit) {
  return static_cast<int32_t>((static_cast<int64_t>(limit) + kHalfUnits * 32768 + 65535) >> 16) - 1;
}

template <int kSlot>
inline constexpr int kHalfWidth = kHalfWidths[(kSlot - 1) % 5];
template <int kSlot>
inline constexpr int kHalfHeight = kHalfHeights[(kSlot - 1) / 5];

template <class Plane, int kHalfWidth, int kHalfHeight>
class LaneBox {
  static constexpr int kLines = (kHalfHeight + 1) / 2 + 1;
  static constexpr int kPairs = (kHalfWidth + 1) / 4 + 1;
  static constexpr uint32_t kDivisor = 64u * kHalfWidth * 64u * kHalfHeight;

 public:
  LaneBox(const uint8_t* src, int32_t pitch, int32_t last_column, int32_t last_line)
      : src_(src),
        pitch_(pitch),
        last_pair_(last_column - 1),
        last_top_(last_line - (kLines - 1)),
        pitches_(all(pitch)),
        last_pairs_(all(last_pair_)),
        last_tops_(all(last_top_)) {}

  // Whether there is room for the window.
  bool fits() const { return last_pair_ >= 0 && last_top_ >= 0; }

  DORBMP_INLINE __m256i samples(__m256i column, __m256i line, __m256i fx, __m256i fy) const {
    return samples(column, line, fx, fy, std::make_integer_sequence<int, kPairs>{},
                   std::make_integer_sequence<int, kLines>{});
  }

  DORBMP_INLINE __m256i samples(const PositionsAvx2& at) const {
    return samples(_mm256_srai_epi32(at.u, 16), _mm256_srai_epi32(at.v, 16), fraction(at.u), fraction(at.v));
  }

 private:
  template <int... kPair, int... kLine>
  DORBMP_INLINE __m256i samples(__m256i column, __m256i line, __m256i fx, __m256i fy,
                                std::integer_sequence<int, kPair...>,
                                std::integer_sequence<int, kLine...>) const {
    const __m256i top = _mm256_min_epi32(line, last_tops_);
    const __m256i row = _mm256_mullo_epi32(top, pitches_);
    __m256i offsets[kPairs], weights[kPairs];
    (place<kPair>(offsets[kPair], weights[kPair], row, column, fx), ...);

    const __m256i is_moved = _mm256_cmpgt_epi32(line, top);
    __m256i total = all(static_cast<int32_t>(Plane::kZero * kDivisor + kDivisor / 2));
    const auto add_line = [&](const uint8_t* from, __m256i weight) {
      __m256i sum = _mm256_setzero_si256();
      for (int pair = 0; pair < kPairs; ++pair) {
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(Plane::load(from, offsets[pair]), weights[pair]));
      }
      total = _mm256_add_epi32(total, _mm256_mullo_epi32(sum, weight));
    };
    (add_line(src_ + kLine * static_cast<ptrdiff_t>(pitch_),
              _mm256_blendv_epi8(tap_weight<kHalfHeight, kLine>(fy), tap_weight<kHalfHeight, kLine - 1>(fy),
                                 is_moved)),
     ...);
    return quotient(total);
  }

  template <int kPair>
  DORBMP_INLINE void place(__m256i& offset, __m256i& weight, __m256i row, __m256i column, __m256i fx) const {
    const __m256i wanted = _mm256_add_epi32(column, all(2 * kPair));
    const __m256i found = _mm256_min_epi32(wanted, last_pairs_);
    offset = _mm256_add_epi32(row, Plane::bytes(found));
    const __m256i words = _mm256_or_si256(tap_weight<kHalfWidth, 2 * kPair>(fx),
                                          _mm256_slli_epi32(tap_weight<kHalfWidth, 2 * kPair + 1>(fx), 16));
    weight = _mm256_sllv_epi32(words, _mm256_slli_epi32(_mm256_sub_epi32(wanted, found), 4));
  }

  // What the power of two leaves is below 2^18: exact through single precision, whose reciprocals of 3 and 9
  // lie above the true ones.
  DORBMP_INLINE static __m256i quotient(__m256i total) {
    constexpr int kShift = std::countr_zero(kDivisor);
    constexpr uint32_t kOdd = kDivisor >> kShift;
    const __m256i whole = _mm256_srli_epi32(total, kShift);
    if constexpr (kOdd == 1) {
      return whole;
    } else {
      static_assert(kOdd == 3 || kOdd == 9);
      const __m256 real = _mm256_mul_ps(_mm256_cvtepi32_ps(whole), _mm256_set1_ps(1.0f / kOdd));
      return _mm256_cvttps_epi32(real);
    }
  }

  const uint8_t* src_;
  int32_t pitch_;
  int32_t last_pair_;
  int32_t last_top_;
  __m256i pitches_, last_pairs_, last_tops_;
};

}  // namespace
}  // namespace dorbmp::spans::avx2
