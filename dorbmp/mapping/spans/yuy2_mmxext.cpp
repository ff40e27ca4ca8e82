// Packed 4:2:2: luma by box_mmxext.h, both chroma samples of a pair in one register. All values are the plain
// kernels'.
#include "dorbmp/mapping/spans/box_mmxext.h"
#include "dorbmp/mapping/spans/span_mmxext.h"

namespace dorbmp::spans::mmxext {
namespace {

// The U and V of a pair as words 0 and 1.
DORBMP_INLINE __m64 chroma_words(const uint8_t* pair) {
  return _mm_srli_pi16(load_4_bytes(pair), 8);
}

// Sums of U and V over a box of pairs that begins at fractions fx and fy, given in all words alike. last_tap:
// bytes from the first tap to the last one. down: lines.
template <int kHalfWidth, int kHalfHeight>
struct ChromaBox {
  static constexpr int kLast = (kHalfWidth + 1) / 2;
  static constexpr int kLines = (kHalfHeight + 1) / 2 + 1;
  static constexpr uint32_t kDivisor = 64u * kHalfWidth * 64u * kHalfHeight;

  DORBMP_INLINE static void put(uint8_t* pixel, const uint8_t* top, int32_t pitch, __m64 fx,
                                ptrdiff_t last_tap, const PositionMmx& at) {
    const __m64 fy = fractions_down(at);
    const auto line = [&]<int kLine>(std::integral_constant<int, kLine>) {
      return across(top + tap_distance<kHalfHeight, kLine>(at.fy, pitch), last_tap, fx,
                    tap_weights<kHalfHeight, kLine>(fy));
    };
    const __m64 sums = [&]<int... kLine>(std::integer_sequence<int, kLine...>) {
      __m64 sum = line(std::integral_constant<int, 0>{});
      ((sum = _mm_add_pi32(sum, line(std::integral_constant<int, kLine + 1>{}))), ...);
      return sum;
    }
    (std::make_integer_sequence<int, kLines - 1>{});
    pixel[1] = quotient(_mm_cvtsi64_si32(sums));
    pixel[3] = quotient(_mm_cvtsi64_si32(_mm_srli_si64(sums, 32)));
  }

 private:
  DORBMP_INLINE static uint8_t quotient(int32_t sum) {
    return static_cast<uint8_t>(divide_to_nearest<kDivisor>(static_cast<uint32_t>(sum)));
  }

  DORBMP_INLINE static __m64 across(const uint8_t* line, ptrdiff_t last_tap, __m64 fx, __m64 down) {
    __m64 sum = two_taps<0>(line, last_tap, fx, down);
    if constexpr (kLast >= 2) sum = _mm_add_pi32(sum, two_taps<2>(line, last_tap, fx, down));
    if constexpr (kLast >= 4) sum = _mm_add_pi32(sum, two_taps<4>(line, last_tap, fx, down));
    return sum;
  }

  template <int kTap>
  DORBMP_INLINE static __m64 two_taps(const uint8_t* line, ptrdiff_t last_tap, __m64 fx, __m64 down) {
    const __m64 weights =
        _mm_unpacklo_pi16(tap_weights<kHalfWidth, kTap>(fx), tap_weights<kHalfWidth, kTap + 1>(fx));
    return _mm_madd_pi16(by_channel<kTap>(line, last_tap), _mm_mullo_pi16(weights, down));
  }

  // U of both taps, then V.
  template <int kTap>
  DORBMP_INLINE static __m64 by_channel(const uint8_t* line, ptrdiff_t last_tap) {
    if constexpr (kTap + 1 < kLast) {
      return _mm_shuffle_pi16(_mm_srli_pi16(load_8_bytes(line + kTap * 4), 8), 0xD8);
    } else if constexpr (kTap + 1 == kLast) {
      return _mm_unpacklo_pi16(chroma_words(line + kTap * 4), chroma_words(line + last_tap));
    } else {
      return _mm_unpacklo_pi16(chroma_words(line + last_tap), _mm_setzero_si64());
    }
  }
};

// An even pixel brings its pair's chroma along, an odd one changes its luma alone.
struct PutNearest {
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Texture& texture, const PositionMmx& at) const {
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 2;
    const uint8_t* const texel = texture.line(at.line) + static_cast<ptrdiff_t>(at.column) * 2;
    pixel[0] = texel[0];
    if (x % 2 != 0) return;
    const uint8_t* const pair = texture.line(at.line) + static_cast<ptrdiff_t>(at.column & ~1) * 2;
    pixel[1] = pair[1];
    pixel[3] = pair[3];
  }
};

template <int kHalfWidth, int kHalfHeight>
struct PutBox {
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Texture& texture, const PositionMmx& at) const {
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 2;
    const uint32_t luma = BoxMmx<LumaMmx, kHalfWidth, kHalfHeight>::sample(texture, at);
    const uint8_t* const line = texture.line(at.line);
    if (x % 2 != 0) {
      pixel[0] = static_cast<uint8_t>(luma);
      return;
    }
    if constexpr (kHalfWidth == 2 && kHalfHeight == 2) {
      // Texels that carry their pair's chroma: the two taps may be one pair.
      const ptrdiff_t apart = at.fx != 0 ? (at.column & 1) * ptrdiff_t{4} : 0;
      ChromaBox<2, 2>::put(pixel, line + static_cast<ptrdiff_t>(at.column & ~1) * 2, texture.pitch,
                           fractions_across(at), apart, at);
    } else {
      using Chroma = ChromaBox<kHalfWidth / 2, kHalfHeight>;
      const int32_t fraction = (at.column & 1) << 6 | at.fx >> 1;
      const __m64 fractions =
          _mm_and_si64(_mm_shuffle_pi16(_mm_srli_pi32(at.fixed, 10), 0x00), _mm_set1_pi16(127));
      Chroma::put(pixel, line + static_cast<ptrdiff_t>(at.column >> 1) * 4, texture.pitch, fractions,
                  tap_distance<kHalfWidth / 2, Chroma::kLast>(fraction, 4), at);
    }
    pixel[0] = static_cast<uint8_t>(luma);
  }
};

template <int kSlot>
struct SlotPut {
  using Type = BoxOfSlot<PutBox, kSlot>;
};
template <>
struct SlotPut<0> {
  using Type = PutNearest;
};

struct Kind {
  using Walk = AffineWalkMmx;
  template <int kSlot>
  using Put = typename SlotPut<kSlot>::Type;
  template <int>
  static constexpr Exactness kExactness = Exactness::kExact;
};

constexpr auto kAffine = affine_slots<Kind>(Yuy2Slots{});
constexpr auto kPerspective = perspective_slots<Kind>(Yuy2Slots{});
constexpr SpanOverride<AuxSpan> kDepth[] = {{1, depth_tested<PutBox<2, 2>>, Exactness::kExact}};

}  // namespace

constinit const SpanOverrides<AffineSpan> yuy2_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> yuy2_perspective = kPerspective;
constinit const SpanOverrides<AuxSpan> yuy2_depth = kDepth;

}  // namespace dorbmp::spans::mmxext
