// 16-bit planes, eight pixels to a block, in the slots whose sums fit 32 bits. Every slot gives the bytes of
// the kernel it replaces, with that kernel's walk.
#include <cstring>

#include "dorbmp/mapping/spans/box_avx2.h"
#include "dorbmp/mapping/spans/span_avx2.h"
#include "dorbmp/mapping/spans/two_by_two_avx2.h"

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

template <int kSlot>
class Box {
 public:
  Box(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : box_(src, pitch, last_tap<kHalfWidth<kSlot>>(u_max), last_tap<kHalfHeight<kSlot>>(v_max)) {}

  bool fits() const { return box_.fits(); }

  // Eight words.
  DORBMP_INLINE __m128i keys(const PositionsAvx2& at) const {
    const __m256i keys = box_.samples(at);
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

// Slot 1, nearly always: loads of four bytes in place of gathers, which are slower.
class Bilinear : public TwoByTwo<2> {
 public:
  Bilinear(const uint8_t* src, int32_t pitch) : TwoByTwo(src, pitch) {}

  struct Block {
    int32_t keys[kBlock];
    __m256i above;  // weights, a word for each key
    __m256i below;
  };

  DORBMP_INLINE void place(Block& block, const PositionsAvx2& at) const {
    TwoByTwo::place(block.keys, at);
    // 128 - fx is ~fx + 129.
    const __m256i fx = twice(_mm256_srli_epi16(at.u, 9)), fy = twice(_mm256_srli_epi16(at.v, 9));
    const __m256i across = _mm256_add_epi16(_mm256_xor_si256(fx, all(0xFFFF)), all(129));
    block.below = _mm256_mullo_epi16(across, fy);
    block.above = _mm256_sub_epi16(_mm256_slli_epi16(across, 7), block.below);
  }

  DORBMP_INLINE void fetch_from(const Block& block, int64_t ahead) const {
    TwoByTwo::fetch_from(block.keys, ahead);
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
    return _mm256_shuffle_epi8(words, in_both_halves(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13));
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

struct Kind {
  template <int kSlot>
  using Sampler = Box<kSlot>;
  using Bilinear = avx2::Bilinear;
  template <int kSlot>
  using Walk = std::conditional_t<has(mmxext::Key16Slots{}, kSlot), AddingWalkAvx2, AffineWalkAvx2>;
  static constexpr int32_t kTexel = 2;

  static constexpr Replaced<AffineSpan> kAffine = {plain::key16_affine, mmxext::key16_affine};
  static constexpr Replaced<PerspectiveSpan> kPerspective = {plain::key16_perspective,
                                                             mmxext::key16_perspective};

  static int32_t begin(int32_t first) { return first; }

  template <class Box, class Walk>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Box& box, Walk& walk,
                                int64_t = 0) {
    run_blocks(row, first, last, [&] { return box.keys(walk.next()); });
  }
  template <class Walk>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Bilinear& bilinear,
                                Walk& walk, int64_t ahead = 0) {
    run_ahead(bilinear, walk, ahead, [&](auto next) { run_blocks(row, first, last, next); });
  }
};

// None, and divisors up to 65536.
using TwinSlots = Slots<0, 1, 2, 3, 4, 6, 7, 11, 12, 16>;

constexpr auto kAffine = affine_slots<Kind>(TwinSlots{});
constexpr auto kPerspective = perspective_slots<Kind>(TwinSlots{});

}  // namespace

constinit const SpanOverrides<AffineSpan> key16_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> key16_perspective = kPerspective;

}  // namespace dorbmp::spans::avx2
