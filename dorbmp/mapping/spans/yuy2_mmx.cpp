// Packed 4:2:2: luma by box_mmx.h, both chroma samples of a pair in one register. All values are the plain
// kernels'.
#include "dorbmp/mapping/spans/box_mmx.h"
#include "dorbmp/mapping/spans/span_mmx.h"

namespace dorbmp::spans::mmx {
namespace {

// The U and V of a pair as words 0 and 1.
DORBMP_INLINE __m64 chroma_words(const uint8_t* pair) {
  return _mm_srli_pi16(load_4_bytes(pair), 8);
}

// Sums of U and V over a box of pairs. last_tap: bytes from the first tap to the last one.
template <int kHalfWidth, int kHalfHeight>
struct ChromaBox {
  static constexpr int kLast = (kHalfWidth + 1) / 2;
  static constexpr uint32_t kDivisor = 64u * kHalfWidth * 64u * kHalfHeight;
  using Lines = std::make_integer_sequence<int, (kHalfHeight + 1) / 2 + 1>;
  using Pairs = std::make_integer_sequence<int, kLast / 2 + 1>;

  DORBMP_INLINE static __m64 sums(const uint8_t* top, int32_t pitch, int32_t fx, int32_t fy,
                                  ptrdiff_t last_tap) {
    return down(top, pitch, fx, fy, last_tap, Lines{});
  }

  DORBMP_INLINE static void put(uint8_t* pixel, __m64 sums) {
    pixel[1] = quotient(_mm_cvtsi64_si32(sums));
    pixel[3] = quotient(_mm_cvtsi64_si32(_mm_srli_si64(sums, 32)));
  }

 private:
  DORBMP_INLINE static uint8_t quotient(int32_t sum) {
    return static_cast<uint8_t>(divide_to_nearest<kDivisor>(static_cast<uint32_t>(sum)));
  }

  template <int... kLine>
  DORBMP_INLINE static __m64 down(const uint8_t* top, int32_t pitch, int32_t fx, int32_t fy,
                                  ptrdiff_t last_tap, std::integer_sequence<int, kLine...>) {
    __m64 sum = _mm_setzero_si64();
    ((sum = _mm_add_pi32(
          sum, across(top + static_cast<ptrdiff_t>(tap_offset<kHalfHeight, kLine>(fy)) * pitch, fx, last_tap,
                      four_words(static_cast<int32_t>(tap_weight<kHalfHeight, kLine>(fy))), Pairs{}))),
     ...);
    return sum;
  }

  template <int... kPair>
  DORBMP_INLINE static __m64 across(const uint8_t* line, int32_t fx, ptrdiff_t last_tap, __m64 line_weight,
                                    std::integer_sequence<int, kPair...>) {
    const auto tap = [&]<int kTap>(std::integral_constant<int, kTap>) {
      if constexpr (kTap > kLast) return _mm_setzero_si64();
      return chroma_words(line + (kTap == kLast ? last_tap : kTap * 4));
    };
    const auto weights = [&]<int kTap>(std::integral_constant<int, kTap>) {
      const uint32_t second = kTap + 1 > kLast ? 0 : tap_weight<kHalfWidth, kTap + 1>(fx);
      return _mm_mullo_pi16(word_pairs(tap_weight<kHalfWidth, kTap>(fx), second), line_weight);
    };
    __m64 sum = _mm_setzero_si64();
    ((sum = _mm_add_pi32(sum,
                         _mm_madd_pi16(_mm_unpacklo_pi16(tap(std::integral_constant<int, 2 * kPair>{}),
                                                         tap(std::integral_constant<int, 2 * kPair + 1>{})),
                                       weights(std::integral_constant<int, 2 * kPair>{})))),
     ...);
    return sum;
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
      const int32_t next = at.column + tap_offset<2, 1>(at.fx);
      const ptrdiff_t apart = static_cast<ptrdiff_t>((next & ~1) - (at.column & ~1)) * 2;
      ChromaBox<2, 2>::put(pixel, ChromaBox<2, 2>::sums(line + static_cast<ptrdiff_t>(at.column & ~1) * 2,
                                                        texture.pitch, at.fx, at.fy, apart));
    } else {
      using Chroma = ChromaBox<kHalfWidth / 2, kHalfHeight>;
      const int32_t fraction = (at.column & 1) << 6 | at.fx >> 1;
      const ptrdiff_t last_tap = tap_offset<kHalfWidth / 2, Chroma::kLast>(fraction) * ptrdiff_t{4};
      Chroma::put(pixel, Chroma::sums(line + static_cast<ptrdiff_t>(at.column >> 1) * 4, texture.pitch,
                                      fraction, at.fy, last_tap));
    }
    pixel[0] = static_cast<uint8_t>(luma);
  }
};

constexpr auto exact = Exactness::exact;

// The widest boxes and the tallest ones but the narrowest stay plain.
constexpr SpanOverride<AffineSpan> kAffine[] = {
    {0, affine<AffineWalkMmx, PutNearest>, exact},    {1, affine<AffineWalkMmx, PutBox<2, 2>>, exact},
    {2, affine<AffineWalkMmx, PutBox<4, 2>>, exact},  {3, affine<AffineWalkMmx, PutBox<6, 2>>, exact},
    {4, affine<AffineWalkMmx, PutBox<8, 2>>, exact},  {5, affine<AffineWalkMmx, PutBox<16, 2>>, exact},
    {6, affine<AffineWalkMmx, PutBox<2, 3>>, exact},  {7, affine<AffineWalkMmx, PutBox<4, 3>>, exact},
    {8, affine<AffineWalkMmx, PutBox<6, 3>>, exact},  {9, affine<AffineWalkMmx, PutBox<8, 3>>, exact},
    {11, affine<AffineWalkMmx, PutBox<2, 4>>, exact}, {12, affine<AffineWalkMmx, PutBox<4, 4>>, exact},
    {13, affine<AffineWalkMmx, PutBox<6, 4>>, exact}, {14, affine<AffineWalkMmx, PutBox<8, 4>>, exact},
    {16, affine<AffineWalkMmx, PutBox<2, 8>>, exact},
};

constexpr SpanOverride<PerspectiveSpan> kPerspective[] = {
    {0, perspective<PutNearest>, exact},    {1, perspective<PutBox<2, 2>>, exact},
    {2, perspective<PutBox<4, 2>>, exact},  {3, perspective<PutBox<6, 2>>, exact},
    {4, perspective<PutBox<8, 2>>, exact},  {5, perspective<PutBox<16, 2>>, exact},
    {6, perspective<PutBox<2, 3>>, exact},  {7, perspective<PutBox<4, 3>>, exact},
    {8, perspective<PutBox<6, 3>>, exact},  {9, perspective<PutBox<8, 3>>, exact},
    {11, perspective<PutBox<2, 4>>, exact}, {12, perspective<PutBox<4, 4>>, exact},
    {13, perspective<PutBox<6, 4>>, exact}, {14, perspective<PutBox<8, 4>>, exact},
    {16, perspective<PutBox<2, 8>>, exact},
};

constexpr SpanOverride<AuxSpan> kDepth[] = {{1, depth_tested<PutBox<2, 2>>, exact}};

}  // namespace

constinit const SpanOverrides<AffineSpan> yuy2_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> yuy2_perspective = kPerspective;
constinit const SpanOverrides<AuxSpan> yuy2_depth = kDepth;

}  // namespace dorbmp::spans::mmx
