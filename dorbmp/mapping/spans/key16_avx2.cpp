// 16-bit planes, eight pixels to a block, in the slots whose sums fit 32 bits. Every slot gives the bytes of
// the kernel it replaces, with that kernel's walk.
#include <cstring>

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

// Slot 1, where the limits keep both keys and both lines inside the texture, as they nearly always do: loads
// of four bytes in place of gathers, which are slower.
class Bilinear {
 public:
  // The limits lie between texels and between lines; the pitch is whole keys that fit a word.
  static bool serves(int32_t pitch, float u_max, float v_max) {
    const auto is_between = [](float limit) { return (static_cast<int32_t>(limit) & 0xFFFF) != 0; };
    return pitch % 2 == 0 && pitch / 2 == static_cast<int16_t>(pitch / 2) && is_between(u_max) &&
           is_between(v_max);
  }

  Bilinear(const uint8_t* src, int32_t pitch)
      : above_(src),
        below_(src + pitch),
        keys_apart_(all(static_cast<int32_t>(static_cast<uint32_t>(pitch / 2) << 16 | 1u))) {}

  struct Block {
    int32_t keys[kBlock];
    __m256i above;  // weights, a word for each key
    __m256i below;
  };

  DORBMP_INLINE void place(Block& block, const PositionsAvx2& at) const {
    const __m256i column_and_line = _mm256_blend_epi16(_mm256_srli_epi32(at.u, 16), at.v, 0xAA);
    _mm256_storeu_si256(static_cast<__m256i*>(static_cast<void*>(block.keys)),
                        _mm256_madd_epi16(column_and_line, keys_apart_));
    DORBMP_FORGET(block.keys);

    // 128 - fx is ~fx + 129.
    const __m256i fx = twice(_mm256_srli_epi16(at.u, 9)), fy = twice(_mm256_srli_epi16(at.v, 9));
    const __m256i across = _mm256_add_epi16(_mm256_xor_si256(fx, all(0xFFFF)), all(129));
    block.below = _mm256_mullo_epi16(across, fy);
    block.above = _mm256_sub_epi16(_mm256_slli_epi16(across, 7), block.below);
  }

  DORBMP_INLINE void fetch_from(const Block& block, int64_t ahead) const {
    fetch(below_, int64_t{block.keys[0]} * 2 + ahead);
  }

  // Eight words.
  DORBMP_INLINE __m128i mix(const Block& block) const {
    const __m256i sums = _mm256_add_epi32(_mm256_madd_epi16(keys_of(above_, block), block.above),
                                          _mm256_madd_epi16(keys_of(below_, block), block.below));
    const __m256i words = _mm256_srli_epi32(_mm256_add_epi32(sums, all(Key16::kZero * 16384 + 8192)), 14);
    return _mm_packus_epi32(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
  }

 private:
  // The low word of each lane in its high word too.
  DORBMP_INLINE static __m256i twice(__m256i words) {
    return _mm256_shuffle_epi8(words, _mm256_broadcastsi128_si256(
                                          _mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13)));
  }

  DORBMP_INLINE static __m256i keys_of(const uint8_t* line, const Block& block) {
    const auto load = [&](int pixel) {
      int32_t two;
      std::memcpy(&two, line + ptrdiff_t{block.keys[pixel]} * 2, sizeof(two));
      return two;
    };
    const __m256i keys =
        _mm256_setr_epi32(load(0), load(1), load(2), load(3), load(4), load(5), load(6), load(7));
    return _mm256_xor_si256(keys, _mm256_set1_epi16(static_cast<int16_t>(0x8000)));
  }

  const uint8_t* above_;
  const uint8_t* below_;
  __m256i keys_apart_;  // words 1 and the pitch
};

// next gives eight words at a time. It is called in one place, so that the compiler puts it there.
template <class Next>
DORBMP_INLINE void run_blocks(uint8_t* row, int32_t first, int32_t last, Next next) {
  uint8_t* to = row + static_cast<ptrdiff_t>(first) * 2;
  for (int32_t left = last - first + 1; left > 0; left -= kBlock, to += kBlock * 2) {
    const __m128i eight = next();
    if (left >= kBlock) {
      _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(to)), eight);
    } else {
      uint16_t keys[kBlock];
      _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(keys)), eight);
      for (int32_t i = 0; i < left; ++i) std::memcpy(to + 2 * i, &keys[i], sizeof(keys[i]));
    }
  }
}

template <class Sampler, class Walk>
DORBMP_INLINE void run_span(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler, Walk walk) {
  run_blocks(row, first, last, [&] { return sampler.keys(walk.next()); });
}

// Blocks are placed two ahead of the one that is mixed, so that its loads need not wait for their addresses;
// what lies farther ahead is fetched.
template <class Walk>
DORBMP_INLINE void run_span(uint8_t* row, int32_t first, int32_t last, const Bilinear& sampler, Walk walk,
                            int64_t ahead) {
  Bilinear::Block blocks[4];
  uint32_t current = 0;
  sampler.place(blocks[0], walk.next());
  sampler.place(blocks[1], walk.next());
  run_blocks(row, first, last, [&] {
    Bilinear::Block& placed = blocks[(current + 2) % 4];
    sampler.place(placed, walk.next());
    sampler.fetch_from(placed, ahead);
    return sampler.mix(blocks[current++ % 4]);
  });
}

template <int kSlot>
void BMP_CALL affine(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src, int32_t src_pitch,
                     float du, float dv, float u_start, float v_start, float u_max, float v_max) {
  using Walk = std::conditional_t<has_mmx_kernel(kSlot), AddingWalkAvx2, AffineWalkAvx2>;
  if constexpr (kSlot == 1) {
    if (Bilinear::serves(src_pitch, u_max, v_max)) {
      return run_span(dst_row, x_first, x_last, Bilinear(src, src_pitch),
                      Walk(x_first, du, dv, u_start, v_start, u_max, v_max), way_ahead(du, dv, src_pitch, 2));
    }
  }
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
  const PerspectiveWalkAvx2 walk(x_first, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max,
                                 v_max);
  if constexpr (kSlot == 1) {
    if (Bilinear::serves(src_pitch, u_max, v_max)) {
      return run_span(dst_row, x_first, x_last, Bilinear(src, src_pitch), walk, 0);
    }
  }
  const Box<kSlot> box(src, src_pitch, u_max, v_max);
  if (!box.fits()) {
    return replaced_kernel(plain::key16_perspective, mmx::key16_perspective, kSlot)(
        dst_row, x_first, x_last, src, src_pitch, duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias,
        u_max, v_max);
  }
  run_span(dst_row, x_first, x_last, box, walk);
}

// None, and divisors up to 65536.
using Slots = std::integer_sequence<int, 0, 1, 2, 3, 4, 6, 7, 11, 12, 16>;

constexpr auto kAffine = []<int... kSlot>(std::integer_sequence<int, kSlot...>) {
  return std::array{SpanOverride<AffineSpan>{kSlot, affine<kSlot>, Exactness::kExact}...};
}
(Slots{});

constexpr auto kPerspective = []<int... kSlot>(std::integer_sequence<int, kSlot...>) {
  return std::array{SpanOverride<PerspectiveSpan>{kSlot, perspective<kSlot>, Exactness::kExact}...};
}
(Slots{});

}  // namespace

constinit const SpanOverrides<AffineSpan> key16_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> key16_perspective = kPerspective;

}  // namespace dorbmp::spans::avx2
