// Packed 4:2:2, eight pixels to a block that begins at an even one. Every slot gives the bytes of the kernel
// it replaces.
#include "dorbmp/mapping/spans/box_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {

struct Luma {
  static constexpr uint32_t kZero = 0;
  DORBMP_INLINE static __m256i bytes(__m256i column) { return _mm256_slli_epi32(column, 1); }
  DORBMP_INLINE static __m256i load(const uint8_t* from, __m256i offsets) {
    return _mm256_and_si256(gather(from, offsets), _mm256_set1_epi16(255));
  }
};

// Both halves stand for the same four pixels: U in the low one, V in the high one.
struct Chroma {
  static constexpr uint32_t kZero = 0;
  DORBMP_INLINE static __m256i bytes(__m256i pair) { return _mm256_slli_epi32(pair, 2); }
  DORBMP_INLINE static __m256i load(const uint8_t* from, __m256i offsets) {
    const __m128i at = _mm256_castsi256_si128(offsets);
    const auto chroma = [](const uint8_t* base, __m128i where) {
      const auto* const words = static_cast<const int*>(static_cast<const void*>(base));
      return _mm_srli_epi16(_mm_i32gather_epi32(words, where, 1), 8);
    };
    const __m128i first = chroma(from, at), second = chroma(from + 4, at);
    const __m128i u = _mm_blend_epi16(first, _mm_slli_epi32(second, 16), 0xAA);
    const __m128i v = _mm_blend_epi16(_mm_srli_epi32(first, 16), second, 0xAA);
    return _mm256_set_m128i(v, u);
  }
};

template <int kSlot>
class Box {
  static constexpr int kWidth = kHalfWidth<kSlot>, kHeight = kHalfHeight<kSlot>;
  // In slot 1 each texel carries its pair's chroma.
  static constexpr bool kByTexel = kSlot == 1;

 public:
  Box(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : luma_(src, pitch, last_tap<kWidth>(u_max), last_tap<kHeight>(v_max)),
        chroma_(src, pitch, last_tap<kWidth>(u_max) / 2, last_tap<kHeight>(v_max)) {}

  bool fits() const { return luma_.fits() && chroma_.fits(); }

  // Four pairs.
  DORBMP_INLINE __m128i pairs(const PositionsAvx2& at) const {
    const __m256i luma = luma_.samples(_mm256_srai_epi32(at.u, 16), _mm256_srai_epi32(at.v, 16),
                                       fraction(at.u), fraction(at.v));
    const __m256i even = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
    const __m256i u = _mm256_permutevar8x32_epi32(at.u, even), v = _mm256_permutevar8x32_epi32(at.v, even);
    const __m256i chroma =
        chroma_.samples(_mm256_srai_epi32(u, 17), _mm256_srai_epi32(v, 16), chroma_fraction(u), fraction(v));
    const __m128i y = _mm_packus_epi32(_mm256_castsi256_si128(luma), _mm256_extracti128_si256(luma, 1));
    return _mm_or_si128(y, _mm_or_si128(_mm_slli_epi32(_mm256_castsi256_si128(chroma), 8),
                                        _mm_slli_epi32(_mm256_extracti128_si256(chroma, 1), 24)));
  }

 private:
  // An even texel's right neighbour has the same chroma.
  DORBMP_INLINE static __m256i chroma_fraction(__m256i u) {
    if constexpr (kByTexel) {
      return _mm256_and_si256(fraction(u), _mm256_srai_epi32(_mm256_slli_epi32(u, 15), 31));
    } else {
      return _mm256_and_si256(_mm256_srai_epi32(u, 10), all(127));
    }
  }

  LaneBox<Luma, kWidth, kHeight> luma_;
  LaneBox<Chroma, kByTexel ? 2 : kWidth / 2, kHeight> chroma_;
};

// Pixels first to end - 1 of a block: luma, and with an even pixel its pair's chroma.
inline void put_part(uint8_t* to, __m128i pairs, int32_t first, int32_t end) {
  uint8_t bytes[16];
  _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(bytes)), pairs);
  for (int32_t i = first; i < end; ++i) {
    to[2 * i] = bytes[2 * i];
    if (i % 2 != 0) continue;
    to[2 * i + 1] = bytes[2 * i + 1];
    to[2 * i + 3] = bytes[2 * i + 3];
  }
}

// walk begins at the even pixel at or before the first one.
template <class Sampler, class Walk>
DORBMP_INLINE void run_span(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler, Walk walk) {
  int32_t x = first & ~1;
  if (x != first && x <= last) {
    put_part(row + static_cast<ptrdiff_t>(x) * 2, sampler.pairs(walk.next()), 1,
             std::min(last - x + 1, kBlock));
    x += kBlock;
  }
  for (; x <= last - (kBlock - 1); x += kBlock) {
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(row + static_cast<ptrdiff_t>(x) * 2)),
                     sampler.pairs(walk.next()));
  }
  if (x <= last) {
    put_part(row + static_cast<ptrdiff_t>(x) * 2, sampler.pairs(walk.next()), 0, last - x + 1);
  }
}

template <int kSlot>
void BMP_CALL affine(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src, int32_t src_pitch,
                     float du, float dv, float u_start, float v_start, float u_max, float v_max) {
  const Box<kSlot> box(src, src_pitch, u_max, v_max);
  if (!box.fits()) {
    return replaced_kernel(plain::yuy2_affine, mmx::yuy2_affine, kSlot)(
        dst_row, x_first, x_last, src, src_pitch, du, dv, u_start, v_start, u_max, v_max);
  }
  run_span(dst_row, x_first, x_last, box,
           AffineWalkAvx2(x_first & ~1, du, dv, u_start, v_start, u_max, v_max));
}

template <int kSlot>
void BMP_CALL perspective(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                          int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                          float q_start, float u_bias, float v_bias, float u_max, float v_max) {
  const Box<kSlot> box(src, src_pitch, u_max, v_max);
  if (!box.fits()) {
    return replaced_kernel(plain::yuy2_perspective, mmx::yuy2_perspective, kSlot)(
        dst_row, x_first, x_last, src, src_pitch, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias,
        u_max, v_max);
  }
  run_span(dst_row, x_first, x_last, box,
           PerspectiveWalkAvx2(x_first & ~1, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max,
                               v_max));
}

constexpr auto kAffine = []<int... kIndex>(std::integer_sequence<int, kIndex...>) {
  return std::array{SpanOverride<AffineSpan>{kIndex + 1, affine<kIndex + 1>, Exactness::exact}...};
}
(std::make_integer_sequence<int, kSlots - 1>{});

constexpr auto kPerspective = []<int... kIndex>(std::integer_sequence<int, kIndex...>) {
  return std::array{SpanOverride<PerspectiveSpan>{kIndex + 1, perspective<kIndex + 1>, Exactness::exact}...};
}
(std::make_integer_sequence<int, kSlots - 1>{});

}  // namespace

constinit const SpanOverrides<AffineSpan> yuy2_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> yuy2_perspective = kPerspective;

}  // namespace dorbmp::spans::avx2
