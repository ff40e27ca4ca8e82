// 16-bit planes, eight pixels to a block, in the slots whose sums fit 32 bits. Every slot gives the bytes of
// the kernel it replaces, with that kernel's walk.
#include "dorbmp/mapping/spans/box_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {

// Unsigned words, less 32768 to make them signed.
struct Key16 {
  static constexpr uint32_t kZero = 32768;
  DORBMP_INLINE static __m256i bytes(__m256i column) { return _mm256_slli_epi32(column, 1); }
  DORBMP_INLINE static __m256i load(const uint8_t* from, __m256i offsets) {
    return _mm256_xor_si256(gather(from, offsets), _mm256_set1_epi16(static_cast<int16_t>(0x8000)));
  }
};

constexpr bool has_mmx_kernel(int slot) {
  return slot == 1 || slot == 2 || slot == 6 || slot == 11;
}

template <int kSlot>
class Box {
 public:
  Box(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : box_(src, pitch, last_tap<kHalfWidth<kSlot>>(u_max), last_tap<kHalfHeight<kSlot>>(v_max)) {}

  bool fits() const { return box_.fits(); }

  // Eight words.
  DORBMP_INLINE __m128i keys(const PositionsAvx2& at) const {
    const __m256i keys = box_.samples(_mm256_srai_epi32(at.u, 16), _mm256_srai_epi32(at.v, 16),
                                      fraction(at.u), fraction(at.v));
    return _mm_packus_epi32(_mm256_castsi256_si128(keys), _mm256_extracti128_si256(keys, 1));
  }

 private:
  LaneBox<Key16, kHalfWidth<kSlot>, kHalfHeight<kSlot>> box_;
};

template <>
class Box<0> {
 public:
  Box(const uint8_t* src, int32_t pitch, float u_max, float)
      : src_(src), pitch_(pitch), last_pair_(static_cast<int32_t>(static_cast<int64_t>(u_max) >> 16) - 1) {}

  bool fits() const { return last_pair_ >= 0; }

  DORBMP_INLINE __m128i keys(const PositionsAvx2& at) const {
    const __m256i column = _mm256_srai_epi32(at.u, 16);
    const __m256i row = _mm256_mullo_epi32(_mm256_srai_epi32(at.v, 16), all(pitch_));
    // Two keys to a load; the last one is the second of its pair.
    const __m256i pair = _mm256_min_epi32(column, all(last_pair_));
    const __m256i both = gather(src_, _mm256_add_epi32(row, Key16::bytes(pair)));
    const __m256i keys = _mm256_srlv_epi32(both, _mm256_slli_epi32(_mm256_sub_epi32(column, pair), 4));
    const __m256i words = _mm256_and_si256(keys, all(0xFFFF));
    return _mm_packus_epi32(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
  }

 private:
  const uint8_t* src_;
  int32_t pitch_;
  int32_t last_pair_;
};

template <class Sampler, class Walk>
DORBMP_INLINE void run_span(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler, Walk walk) {
  uint8_t* to = row + static_cast<ptrdiff_t>(first) * 2;
  int32_t left = last - first + 1;
  for (; left >= kBlock; left -= kBlock, to += kBlock * 2) {
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(to)), sampler.keys(walk.next()));
  }
  if (left > 0) {
    uint16_t keys[kBlock];
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(keys)), sampler.keys(walk.next()));
    for (int32_t i = 0; i < left; ++i) std::memcpy(to + 2 * i, &keys[i], sizeof(keys[i]));
  }
}

template <int kSlot>
void BMP_CALL affine(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src, int32_t src_pitch,
                     float du, float dv, float u_start, float v_start, float u_max, float v_max) {
  using Walk = std::conditional_t<has_mmx_kernel(kSlot), AddingWalkAvx2, AffineWalkAvx2>;
  const Box<kSlot> box(src, src_pitch, u_max, v_max);
  if (!box.fits()) {
    return replaced_kernel(plain::key16_affine, mmx::key16_affine, kSlot)(
        dst_row, x_first, x_last, src, src_pitch, du, dv, u_start, v_start, u_max, v_max);
  }
  run_span(dst_row, x_first, x_last, box, Walk(x_first, du, dv, u_start, v_start, u_max, v_max));
}

template <int kSlot>
void BMP_CALL perspective(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                          int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                          float q_start, float u_bias, float v_bias, float u_max, float v_max) {
  const Box<kSlot> box(src, src_pitch, u_max, v_max);
  if (!box.fits()) {
    return replaced_kernel(plain::key16_perspective, mmx::key16_perspective, kSlot)(
        dst_row, x_first, x_last, src, src_pitch, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias,
        u_max, v_max);
  }
  run_span(
      dst_row, x_first, x_last, box,
      PerspectiveWalkAvx2(x_first, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max));
}

// None, and divisors up to 65536.
using Slots = std::integer_sequence<int, 0, 1, 2, 3, 4, 6, 7, 11, 12, 16>;

constexpr auto kAffine = []<int... kSlot>(std::integer_sequence<int, kSlot...>) {
  return std::array{SpanOverride<AffineSpan>{kSlot, affine<kSlot>, Exactness::exact}...};
}
(Slots{});

constexpr auto kPerspective = []<int... kSlot>(std::integer_sequence<int, kSlot...>) {
  return std::array{SpanOverride<PerspectiveSpan>{kSlot, perspective<kSlot>, Exactness::exact}...};
}
(Slots{});

}  // namespace

constinit const SpanOverrides<AffineSpan> key16_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> key16_perspective = kPerspective;

}  // namespace dorbmp::spans::avx2
