// Packed 4:2:2, eight pixels to a block that begins at an even one. Every slot gives the bytes of the kernel
// it replaces.
#include <cstring>

#include "dorbmp/mapping/spans/box_avx2.h"
#include "dorbmp/mapping/spans/depth_walk_avx2.h"
#include "dorbmp/mapping/spans/span_avx2.h"
#include "dorbmp/mapping/spans/yuy2_blocks_avx2.h"

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

// Four pairs of luma words and a pair's chroma: U in the second byte, V in the fourth.
DORBMP_INLINE __m128i joined(__m256i luma, __m128i chroma) {
  return _mm_or_si128(_mm_packus_epi32(_mm256_castsi256_si128(luma), _mm256_extracti128_si256(luma, 1)),
                      chroma);
}

template <int kSlot>
class Box {
  static constexpr int kWidth = kHalfWidth<kSlot>, kHeight = kHalfHeight<kSlot>;

 public:
  Box(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : luma_(src, pitch, last_tap<kWidth>(u_max), last_tap<kHeight>(v_max)),
        chroma_(src, pitch, last_tap<kWidth>(u_max) / 2, last_tap<kHeight>(v_max)) {}

  bool fits() const { return luma_.fits() && chroma_.fits(); }

  // Four pairs.
  DORBMP_INLINE __m128i pairs(const PositionsAvx2& at) const {
    const __m256i luma = luma_.samples(at);
    const __m256i even = _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6);
    const __m256i u = _mm256_permutevar8x32_epi32(at.u, even), v = _mm256_permutevar8x32_epi32(at.v, even);
    const __m256i chroma = chroma_.samples(_mm256_srai_epi32(u, 17), _mm256_srai_epi32(v, 16),
                                           _mm256_and_si256(_mm256_srai_epi32(u, 10), all(127)), fraction(v));
    return joined(luma, _mm_or_si128(_mm_slli_epi32(_mm256_castsi256_si128(chroma), 8),
                                     _mm_slli_epi32(_mm256_extracti128_si256(chroma, 1), 24)));
  }

 private:
  LaneBox<Luma, kWidth, kHeight> luma_;
  LaneBox<Chroma, kWidth / 2, kHeight> chroma_;
};

class Nearest {
 public:
  Nearest(const uint8_t* src, int32_t pitch, float, float) : src_(src), pitch_(pitch) {}

  bool fits() const { return true; }

  DORBMP_INLINE __m128i pairs(const PositionsAvx2& at) const {
    const __m256i column = _mm256_srai_epi32(at.u, 16);
    const __m256i row = _mm256_mullo_epi32(_mm256_srai_epi32(at.v, 16), all(pitch_));
    const __m256i found = gather(src_, _mm256_add_epi32(row, Chroma::bytes(_mm256_srai_epi32(column, 1))));
    const __m256i is_odd = _mm256_and_si256(column, all(1));
    const __m256i luma = _mm256_and_si256(_mm256_srlv_epi32(found, _mm256_slli_epi32(is_odd, 4)), all(255));
    const __m256i even = _mm256_permutevar8x32_epi32(found, _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6));
    return joined(luma, _mm_andnot_si128(_mm_set1_epi16(255), _mm256_castsi256_si128(even)));
  }

 private:
  const uint8_t* src_;
  int32_t pitch_;
};

// Slot 1. The sample of an even pixel lies in two neighbouring pairs of each line, its luma as well as its
// chroma: eight bytes a line, one such pixel to each half of a register. Odd pixels take two texels of each
// line, two of them to each half.
class Bilinear {
 public:
  Bilinear(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : src_(src),
        below_(src + pitch),
        last_column_(last_tap<2>(u_max)),
        last_top_(last_tap<2>(v_max) - 1),
        pitches_(all(pitch)),
        last_windows_(_mm256_blend_epi32(all((last_column_ & ~1) - 2), all(last_column_ - 1), 0xAA)),
        last_tops_(all(last_top_)) {}

  bool fits() const { return last_column_ >= 2 && last_top_ >= 0; }

  // Where a block's texels are, and their weights, both directions' negative: -128 is a signed byte, 128 is
  // not.
  struct Block {
    int32_t offsets[kBlock];
    __m256i even_across[2];  // of pixels 0 and 4, 2 and 6: luma, a byte for each texel of both pairs; chroma
    __m256i odd_across;      // of all pixels, luma
    __m256i down;            // the line above in the low words
  };

  DORBMP_INLINE void place(Block& block, const PositionsAvx2& at) const {
    const __m256i column = _mm256_srai_epi32(at.u, 16), line = _mm256_srai_epi32(at.v, 16);
    const __m256i starts = _mm256_setr_epi32(~1, ~0, ~1, ~0, ~1, ~0, ~1, ~0);
    const __m256i window = _mm256_min_epi32(_mm256_and_si256(column, starts), last_windows_);
    const __m256i top = _mm256_min_epi32(line, last_tops_);
    store(block.offsets, _mm256_add_epi32(_mm256_mullo_epi32(top, pitches_), Luma::bytes(window)));

    const __m256i place = _mm256_sub_epi32(column, window);
    // fx - 128 and -fx. An even texel's right neighbour has the same chroma: -128 and 0.
    const __m256i negative = _mm256_sub_epi16(
        _mm256_set1_epi16(128), _mm256_mullo_epi16(_mm256_srli_epi16(at.u, 9), _mm256_set1_epi16(255)));
    const __m256i two_lumas = _mm256_and_si256(negative, all(0xFFFF));
    const __m256i two_pairs =
        _mm256_castps_si256(_mm256_blendv_ps(_mm256_castsi256_ps(all(128)), _mm256_castsi256_ps(two_lumas),
                                             _mm256_castsi256_ps(_mm256_slli_epi32(at.u, 15))));
    const __m256i luma = _mm256_sllv_epi32(two_lumas, _mm256_slli_epi32(place, 3));
    const __m256i chroma =
        _mm256_sllv_epi32(two_pairs, _mm256_slli_epi32(_mm256_and_si256(place, all(2)), 2));
    const __m256i fy = fraction(at.v);
    block.even_across[0] = _mm256_unpacklo_epi32(luma, chroma);
    block.even_across[1] = _mm256_unpackhi_epi32(luma, chroma);
    block.odd_across = luma;
    block.down =
        _mm256_sllv_epi32(_mm256_sub_epi32(_mm256_add_epi32(fy, all(0xFF80)), _mm256_slli_epi32(fy, 16)),
                          _mm256_slli_epi32(_mm256_sub_epi32(line, top), 4));
  }

  DORBMP_INLINE void fetch_from(const Block& block, int64_t ahead) const {
    fetch(below_, block.offsets[0] + ahead);
  }

  DORBMP_INLINE __m128i mix(const Block& block) const {
    const __m256i pixels_0 = even_pixel<0>(block), pixels_2 = even_pixel<2>(block);
    // Luma of pixels 0, 2, 1, 3; U and V of pixels 0 and 2.
    const __m256i y = _mm256_hadd_epi32(_mm256_unpacklo_epi64(pixels_0, pixels_2), odd_pixels(block));
    const __m256i uv = _mm256_unpackhi_epi64(pixels_0, pixels_2);
    const __m256i bytes =
        _mm256_shuffle_epi8(_mm256_packus_epi32(quotient(y), quotient(uv)),
                            in_both_halves(0, 8, 4, 10, 2, 12, 6, 14, -1, -1, -1, -1, -1, -1, -1, -1));
    return _mm256_castsi256_si128(_mm256_permute4x64_epi64(bytes, 0x08));
  }

  DORBMP_INLINE __m128i pairs(const PositionsAvx2& at) const {
    Block block;
    place(block, at);
    return mix(block);
  }

 private:
  DORBMP_INLINE static __m256i quotient(__m256i total) {
    return _mm256_srli_epi32(_mm256_add_epi32(total, all(8192)), 14);
  }

  // Of pixel kPixel and of pixel kPixel + 4: luma of either line, U, V.
  template <int kPixel>
  DORBMP_INLINE __m256i even_pixel(const Block& block) const {
    const auto load = [&](ptrdiff_t offset) {
      uint64_t above, below;
      std::memcpy(&above, src_ + offset, sizeof(above));
      std::memcpy(&below, below_ + offset, sizeof(below));
      return _mm_set_epi64x(static_cast<int64_t>(below), static_cast<int64_t>(above));
    };
    const __m256i texels = _mm256_inserti128_si256(_mm256_castsi128_si256(load(block.offsets[kPixel])),
                                                   load(block.offsets[kPixel + 4]), 1);
    // The luma of a line and that of the other, then U and V of the one and the other.
    const __m256i by_channel = in_both_halves(0, 2, 4, 6, 8, 10, 12, 14, 1, 5, 9, 13, 3, 7, 11, 15);
    const __m256i to_channels = in_both_halves(0, 1, 2, 3, 0, 1, 2, 3, 4, 5, 4, 5, 4, 5, 4, 5);
    constexpr int k = 4 * kPixel;
    const __m256i to_lines = in_both_halves(k, k + 1, k, k + 1, k + 2, k + 3, k + 2, k + 3, k, k + 1, k + 2,
                                            k + 3, k, k + 1, k + 2, k + 3);
    return _mm256_madd_epi16(
        _mm256_maddubs_epi16(_mm256_shuffle_epi8(texels, by_channel),
                             _mm256_shuffle_epi8(block.even_across[kPixel / 2], to_channels)),
        _mm256_shuffle_epi8(block.down, to_lines));
  }

  // Luma of pixels 1 and 3, of either line.
  DORBMP_INLINE __m256i odd_pixels(const Block& block) const {
    const int32_t* const offsets = block.offsets;
    const auto load = [&](ptrdiff_t first, ptrdiff_t second) {
      int32_t taps[4];
      std::memcpy(&taps[0], src_ + first, 4);
      std::memcpy(&taps[1], below_ + first, 4);
      std::memcpy(&taps[2], src_ + second, 4);
      std::memcpy(&taps[3], below_ + second, 4);
      return _mm_setr_epi32(taps[0], taps[1], taps[2], taps[3]);
    };
    const __m256i texels = _mm256_inserti128_si256(_mm256_castsi128_si256(load(offsets[1], offsets[3])),
                                                   load(offsets[5], offsets[7]), 1);
    // No weight for what stands between two lumas.
    const __m256i to_luma = in_both_halves(4, -1, 5, -1, 4, -1, 5, -1, 12, -1, 13, -1, 12, -1, 13, -1);
    const __m256i to_lines = in_both_halves(4, 5, 4, 5, 6, 7, 6, 7, 12, 13, 12, 13, 14, 15, 14, 15);
    return _mm256_madd_epi16(_mm256_maddubs_epi16(texels, _mm256_shuffle_epi8(block.odd_across, to_luma)),
                             _mm256_shuffle_epi8(block.down, to_lines));
  }

  const uint8_t* src_;
  const uint8_t* below_;  // the second line
  int32_t last_column_;
  int32_t last_top_;
  __m256i pitches_, last_windows_, last_tops_;
};

template <int kSlot>
struct SlotSampler {
  using Type = Box<kSlot>;
};
template <>
struct SlotSampler<0> {
  using Type = Nearest;
};
template <>
struct SlotSampler<1> {
  using Type = Bilinear;
};

// Spans begin at the even pixel at or before the first one.
struct Kind {
  template <int kSlot>
  using Sampler = typename SlotSampler<kSlot>::Type;
  template <int kSlot>
  using Walk = AffineWalkAvx2;
  static constexpr int32_t kTexel = 2;

  static constexpr Replaced<AffineSpan> kAffine = {plain::yuy2_affine, mmxext::yuy2_affine};
  static constexpr Replaced<PerspectiveSpan> kPerspective = {plain::yuy2_perspective,
                                                             mmxext::yuy2_perspective};

  static int32_t begin(int32_t first) { return first & ~1; }

  template <class Sampler, class Walk>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler, Walk& walk,
                                int64_t = 0) {
    run_blocks(row, first, last,
               [&](int32_t, int32_t, int32_t, __m128i) { return sampler.pairs(walk.next()); });
  }
  template <class Walk>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Bilinear& bilinear,
                                Walk& walk, int64_t ahead = 0) {
    run_ahead(bilinear, walk, ahead, [&](auto next) {
      run_blocks(row, first, last, [&](int32_t, int32_t, int32_t, __m128i) { return next(); });
    });
  }
};

struct DepthKind : Kind {
  static constexpr Replaced<AuxSpan> kPerspective = {plain::yuy2_depth, mmxext::yuy2_depth};

  template <class Sampler>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Sampler& sampler,
                                PerspectiveWalkAvx2& positions, void* depths) {
    DepthWalkAvx2 walk(positions, first, depths);
    run_blocks(row, first, last, [&](int32_t x, int32_t begin, int32_t end, __m128i old) {
      __m256i drawn;
      const PositionsAvx2 at = walk.next(x, begin, end, drawn);
      // An even pixel takes its pair's chroma along.
      const __m256i of_bytes =
          _mm256_shuffle_epi8(drawn, in_both_halves(0, 0, 4, 0, 8, 8, 12, 8, -1, -1, -1, -1, -1, -1, -1, -1));
      const __m128i mask =
          _mm_unpacklo_epi64(_mm256_castsi256_si128(of_bytes), _mm256_extracti128_si256(of_bytes, 1));
      return _mm_blendv_epi8(old, sampler.pairs(at), mask);
    });
  }
};

constexpr auto kAffine = affine_slots<Kind>(EverySlot{});
constexpr auto kPerspective = perspective_slots<Kind>(EverySlot{});
constexpr auto kDepth = aux_slots<DepthKind>(EverySlot{});

}  // namespace

constinit const SpanOverrides<AffineSpan> yuy2_affine = kAffine;
constinit const SpanOverrides<PerspectiveSpan> yuy2_perspective = kPerspective;
constinit const SpanOverrides<AuxSpan> yuy2_depth = kDepth;

}  // namespace dorbmp::spans::avx2
