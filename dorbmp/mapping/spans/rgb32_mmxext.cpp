// 32-bit texels in MMX registers, four channels to a register.
//
// The boxes here have two taps in one direction at least. These are mixed first, in 16 bits (at most 255 *
// 128), then the results are multiplied and added in pairs along the other direction, in 32. Sums are the
// plain kernels' sums; slots 3 and 6 divide by 48 through a high product and may fall one below.
// Affine spans advance by adding, so their coordinates differ from the plain kernels' in the last places.
#include "dorbmp/mapping/spans/box_mmxext.h"
#include "dorbmp/mapping/spans/span_mmxext.h"

namespace dorbmp::spans::mmxext {
namespace {

// Four channels' sums, two to a register.
struct Sums {
  __m64 low;
  __m64 high;
};

DORBMP_INLINE Sums add_pair(Sums sums, __m64 first, __m64 second, __m64 weights) {
  return {_mm_add_pi32(sums.low, _mm_madd_pi16(_mm_unpacklo_pi16(first, second), weights)),
          _mm_add_pi32(sums.high, _mm_madd_pi16(_mm_unpackhi_pi16(first, second), weights))};
}

// Two texels `apart` bytes from each other, mixed.
struct Mix {
  __m64 near_weight;
  __m64 far_weight;
  ptrdiff_t apart;

  DORBMP_INLINE Mix(int32_t f, ptrdiff_t step)
      : near_weight(four_words(128 - f)), far_weight(four_words(f)), apart(f != 0 ? step : 0) {}

  DORBMP_INLINE __m64 at(const uint8_t* texel) const {
    return _mm_add_pi16(_mm_mullo_pi16(widen_low(load_4_bytes(texel)), near_weight),
                        _mm_mullo_pi16(widen_low(load_4_bytes(texel + apart)), far_weight));
  }
};

// kTaps mixes `step` bytes apart, weighted as a box of kHalfUnits that begins at f. kScale multiplies the
// weights.
template <int kHalfUnits, int kScale>
struct Row {
  static constexpr int kLast = (kHalfUnits + 1) / 2;

  template <int... kPair>
  DORBMP_INLINE static Sums sum(const uint8_t* texel, ptrdiff_t step, int32_t f, const Mix& mix, Sums start,
                                std::integer_sequence<int, kPair...>) {
    const ptrdiff_t last = tap_offset<kHalfUnits, kLast>(f) * step;
    const auto tap = [&]<int kTap>(std::integral_constant<int, kTap>) {
      if constexpr (kTap > kLast) return _mm_setzero_si64();
      return mix.at(texel + (kTap == kLast ? last : kTap * step));
    };
    const auto weights = [&]<int kTap>(std::integral_constant<int, kTap>) {
      const uint32_t second = kTap + 1 > kLast ? 0 : tap_weight<kHalfUnits, kTap + 1>(f);
      return word_pairs(kScale * tap_weight<kHalfUnits, kTap>(f), kScale * second);
    };
    ((start = add_pair(start, tap(std::integral_constant<int, 2 * kPair>{}),
                       tap(std::integral_constant<int, 2 * kPair + 1>{}),
                       weights(std::integral_constant<int, 2 * kPair>{}))),
     ...);
    return start;
  }

  DORBMP_INLINE static Sums sum(const uint8_t* texel, ptrdiff_t step, int32_t f, const Mix& mix,
                                int32_t half) {
    const __m64 start = _mm_unpacklo_pi32(_mm_cvtsi32_si64(half), _mm_cvtsi32_si64(half));
    return sum(texel, step, f, mix, {start, start}, std::make_integer_sequence<int, kLast / 2 + 1>{});
  }
};

template <int kHalfWidth, int kHalfHeight>
struct PutBox {
  static constexpr int kTotal = 64 * kHalfWidth * 64 * kHalfHeight;
  // Sums of a box with a factor 3 are brought to 48 * 1024.
  static constexpr bool kByThree = kTotal % 3 == 0;
  static constexpr int kScale = kByThree ? 49152 / kTotal : 1;
  static_assert(!kByThree || kScale * kTotal == 49152);
  static constexpr int kHalf = kScale * kTotal / 2;
  static constexpr int kShift = kByThree ? 10 : std::countr_zero(static_cast<unsigned>(kTotal));

  DORBMP_INLINE static __m64 sample(const Texture& texture, const PositionMmx& at) {
    const uint8_t* const texel = texture.line(at.line) + static_cast<ptrdiff_t>(at.column) * 4;
    Sums sums;
    if constexpr (kHalfHeight == 2) {
      sums = Row<kHalfWidth, kScale>::sum(texel, 4, at.fx, Mix(at.fy, texture.pitch), kHalf);
    } else {
      sums = Row<kHalfHeight, kScale>::sum(texel, texture.pitch, at.fy, Mix(at.fx, 4), kHalf);
    }
    __m64 words = _mm_packs_pi32(_mm_srai_pi32(sums.low, kShift), _mm_srai_pi32(sums.high, kShift));
    if constexpr (kByThree) words = high_product(words, _mm_set1_pi16(1365));
    return _mm_packs_pu16(words, words);
  }

  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Texture& texture, const PositionMmx& at) const {
    store_4_bytes(row + static_cast<ptrdiff_t>(x) * 4, sample(texture, at));
  }
};

struct Kind {
  using Walk = AddingWalk;
  template <int kSlot>
  using Put = BoxOfSlot<PutBox, kSlot>;
  template <int kSlot>
  static constexpr Exactness kExactness = Put<kSlot>::kByThree ? Exactness::kMayBeOneLess : Exactness::kExact;
};

constexpr auto kAffine = affine_slots<Kind>(Rgb32Slots{});
constexpr auto kPerspective = perspective_slots<Kind>(Rgb32Slots{});
constexpr SpanOverride<AuxSpan> kDepth[] = {{1, depth_tested<PutBox<2, 2>>, Exactness::kExact}};

}  // namespace

constinit const SpanOverrides<AffineSpan> rgb32_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> rgb32_perspective = kPerspective;
constinit const SpanOverrides<AuxSpan> rgb32_depth = kDepth;

}  // namespace dorbmp::spans::mmxext
