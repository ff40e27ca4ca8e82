// A colour through an 8-bit texture, eight pixels to a block. Every slot gives the bytes of the kernel it
// replaces.
#include "dorbmp/mapping/spans/box_avx2.h"
#include "dorbmp/mapping/spans/span_avx2.h"
#include "dorbmp/mapping/spans/yuy2_blocks_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {

// Two bytes by a load of four: of those that end with them or, where the texture begins, of its first.
struct Matte8 {
  static constexpr uint32_t kZero = 0;
  DORBMP_INLINE static __m256i bytes(__m256i column) { return column; }
  DORBMP_INLINE static __m256i load(const uint8_t* from, __m256i offsets) {
    const __m256i start = _mm256_max_epi32(_mm256_sub_epi32(offsets, all(2)), _mm256_setzero_si256());
    const __m256i passed = _mm256_slli_epi32(_mm256_sub_epi32(offsets, start), 3);
    const __m256i two = _mm256_srlv_epi32(gather(from, start), passed);
    return _mm256_shuffle_epi8(two, in_both_halves(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1));
  }
};

template <int kSlot>
class Opacity {
  static constexpr int kBox = std::clamp(kSlot, 1, kSlots - 2);
  static constexpr int kWidth = kHalfWidth<kBox>, kHeight = kHalfHeight<kBox>;

 public:
  Opacity(const uint8_t* src, int32_t pitch, float u_max, float v_max)
      : box_(src, pitch, last_tap<kWidth>(u_max), last_tap<kHeight>(v_max)),
        has_four_columns_(last_tap<kWidth>(u_max) >= 3) {}

  bool fits() const { return box_.fits() && has_four_columns_; }

  DORBMP_INLINE __m256i at(const PositionsAvx2& at) const { return box_.samples(at); }

 private:
  LaneBox<Matte8, kWidth, kHeight> box_;
  bool has_four_columns_;
};

// old * (255 - opacity) + color * opacity, at most 255 * 255.
DORBMP_INLINE __m256i mixed(__m256i old, __m256i opacity, __m256i color) {
  return _mm256_add_epi16(_mm256_mullo_epi16(old, _mm256_sub_epi16(_mm256_set1_epi16(255), opacity)),
                          _mm256_mullo_epi16(color, opacity));
}

class FillRgb32 {
 public:
  explicit FillRgb32(uint32_t color)
      : color_(_mm256_unpacklo_epi8(all(static_cast<int32_t>(color)), _mm256_setzero_si256())) {}

  static int32_t begin(int32_t first) { return first; }

  template <class Opacity, class Walk>
  DORBMP_INLINE void run(uint8_t* row, int32_t first, int32_t last, const Opacity& opacity,
                         Walk& walk) const {
    uint8_t* to = row + static_cast<ptrdiff_t>(first) * 4;
    int32_t left = last - first + 1;
    for (; left >= kBlock; left -= kBlock, to += kBlock * 4) {
      auto* const block = static_cast<__m256i*>(static_cast<void*>(to));
      _mm256_storeu_si256(block, filled(_mm256_loadu_si256(block), opacity.at(walk.next())));
    }
    if (left > 0) {
      auto* const block = static_cast<int*>(static_cast<void*>(to));
      const __m256i inside = first_lanes(left);
      const __m256i old = _mm256_maskload_epi32(block, inside);
      _mm256_maskstore_epi32(block, inside, filled(old, opacity.at(walk.next())));
    }
  }

 private:
  DORBMP_INLINE __m256i filled(__m256i old, __m256i opacity) const {
    const __m256i words = _mm256_or_si256(opacity, _mm256_slli_epi32(opacity, 16)), zero = all(0);
    const __m256i low =
        quotient(mixed(_mm256_unpacklo_epi8(old, zero), _mm256_unpacklo_epi32(words, words), color_));
    const __m256i high =
        quotient(mixed(_mm256_unpackhi_epi8(old, zero), _mm256_unpackhi_epi32(words, words), color_));
    // Byte 3 stays.
    return _mm256_blendv_epi8(_mm256_packus_epi16(low, high), old, all(static_cast<int32_t>(0xFF000000)));
  }

  // By 255, exactly.
  DORBMP_INLINE static __m256i quotient(__m256i value) {
    const __m256i more = _mm256_add_epi16(value, _mm256_srli_epi16(value, 8));
    return _mm256_srli_epi16(_mm256_add_epi16(more, _mm256_set1_epi16(1)), 8);
  }

  __m256i color_;
};

class FillYuy2 {
 public:
  explicit FillYuy2(uint32_t color)
      : color_(_mm256_set1_epi64x(
            static_cast<int64_t>(uint64_t{color & 255} << 48 | uint64_t{color >> 16 & 255} << 32 |
                                 uint64_t{color >> 8 & 255} << 16 | uint64_t{color >> 16 & 255}))) {}

  static int32_t begin(int32_t first) { return first & ~1; }

  template <class Opacity, class Walk>
  DORBMP_INLINE void run(uint8_t* row, int32_t first, int32_t last, const Opacity& opacity,
                         Walk& walk) const {
    run_blocks(row, first, last,
               [&](int32_t, int32_t, int32_t, __m128i old) { return filled(old, opacity.at(walk.next())); });
  }

 private:
  DORBMP_INLINE __m128i filled(__m128i pairs, __m256i opacity) const {
    // Chroma takes the even pixel's.
    const __m256i of_bytes =
        _mm256_shuffle_epi8(opacity, in_both_halves(0, -1, 0, -1, 4, -1, 0, -1, 8, -1, 8, -1, 12, -1, 8, -1));
    const __m256i old = _mm256_cvtepu8_epi16(pairs);
    const __m256i value = _mm256_srli_epi16(mixed(old, of_bytes, color_), 8);
    const __m256i is_clear = _mm256_cmpeq_epi16(of_bytes, _mm256_setzero_si256());
    const __m256i words = _mm256_blendv_epi8(value, old, is_clear);
    return _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
  }

  __m256i color_;
};

template <class Fill>
struct Kind {
  template <int kSlot>
  using Sampler = Opacity<kSlot>;

  static const Replaced<AuxSpan> kPerspective;

  static int32_t begin(int32_t first) { return Fill::begin(first); }

  template <class Opacity>
  DORBMP_INLINE static void run(uint8_t* row, int32_t first, int32_t last, const Opacity& opacity,
                                PerspectiveWalkAvx2& walk, void* color) {
    Fill(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(color))).run(row, first, last, opacity, walk);
  }
};
template <>
constexpr Replaced<AuxSpan> Kind<FillYuy2>::kPerspective = {plain::matte_yuy2, mmxext::matte_yuy2};
template <>
constexpr Replaced<AuxSpan> Kind<FillRgb32>::kPerspective = {plain::matte_rgb32, mmxext::matte_rgb32};

constexpr auto kYuy2 = aux_slots<Kind<FillYuy2>>(EverySlot{});
constexpr auto kRgb32 = aux_slots<Kind<FillRgb32>>(EverySlot{});

}  // namespace

constinit const SpanOverrides<AuxSpan> matte_yuy2 = kYuy2;
constinit const SpanOverrides<AuxSpan> matte_rgb32 = kRgb32;

}  // namespace dorbmp::spans::avx2
