// Composition with a colour in AVX2, as in kernels_avx2.cpp.
#include "dorbmp/compose/each_row.h"
#include "dorbmp/compose/kernels.h"
#include "dorbmp/compose/steps_avx2.h"

namespace dorbmp::compose::avx2 {
namespace {

// Chroma weights of colour composition: the sum of both keys, twice.
DORBMP_INLINE __m256i key_sums(__m256i keys) {
  const __m256i order =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13));
  return _mm256_add_epi16(keys, _mm256_shuffle_epi8(keys, order));
}

// Packed 4:2:2 and a colour: luma in 1/32 with weights on the 4096 scale, chroma in 1/16 with weights on the
// 8192 scale, so that products come out in half units; the average instruction adds the last half and shifts.
struct Yuy2Color {
  __m256i luma, chroma;

  explicit Yuy2Color(uint32_t color)
      : luma(_mm256_set1_epi16(static_cast<int16_t>((color >> 16 & 0xFF) * 32))),
        chroma(
            _mm256_set1_epi32(static_cast<int32_t>((color & 0xFF) * 16 << 16 | (color >> 8 & 0xFF) * 16))) {}
};

DORBMP_INLINE __m256i blend_border(__m256i background, __m256i foreground, __m256i color, __m256i ka,
                                   __m256i kb, __m256i full) {
  const __m256i back = _mm256_mulhi_epi16(background, _mm256_sub_epi16(full, kb));
  const __m256i fore = _mm256_mulhi_epi16(foreground, ka);
  const __m256i band = _mm256_mulhi_epi16(color, _mm256_sub_epi16(kb, ka));
  return _mm256_avg_epu16(_mm256_add_epi16(back, fore), band);
}

struct BorderYuy2 {
  Yuy2Color color;

  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                const uint8_t* key, const uint8_t* border_key) const {
    const __m256i b = load(background), f = load(foreground), ka = load(key), kb = load(border_key);
    const __m256i luma = blend_border(even_times<32>(b), even_times<32>(f), color.luma, ka, kb, full_key());
    const __m256i chroma = blend_border(odd_times<16>(b), odd_times<16>(f), color.chroma, key_sums(ka),
                                        key_sums(kb), _mm256_set1_epi16(kFullPair));
    store(dst, join_low_bytes(luma, chroma));
  }
};

struct BorderRgb32 {
  __m256i even, odd;  // the colour's bytes in 1/16

  explicit BorderRgb32(uint32_t color)
      : even(even_times<16>(_mm256_set1_epi32(static_cast<int32_t>(color)))),
        odd(odd_times<16>(_mm256_set1_epi32(static_cast<int32_t>(color)))) {}

  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                const uint8_t* key, const uint8_t* border_key) const {
    const __m256i b = load(background), f = load(foreground);
    const __m256i ka = pixel_keys16(key), kb = pixel_keys16(border_key);
    const __m256i rest = _mm256_sub_epi16(full_key(), kb), band = _mm256_sub_epi16(kb, ka);
    const auto blend = [&](__m256i back, __m256i fore, __m256i color) {
      return _mm256_add_epi16(_mm256_add_epi16(_mm256_mulhi_epi16(back, rest), _mm256_mulhi_epi16(fore, ka)),
                              _mm256_mulhi_epi16(color, band));
    };
    store(dst, join_saturated(blend(even_times<16>(b), even_times<16>(f), even),
                              blend(odd_times<16>(b), odd_times<16>(f), odd)));
  }
};

struct ColorYuy2 {
  Yuy2Color color;

  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* image, const uint8_t* key) const {
    const __m256i s = load(image), k = load(key), sums = key_sums(k);
    const __m256i luma = _mm256_avg_epu16(_mm256_mulhi_epi16(even_times<32>(s), k),
                                          _mm256_mulhi_epi16(color.luma, _mm256_sub_epi16(full_key(), k)));
    const __m256i rest = _mm256_sub_epi16(_mm256_set1_epi16(kFullPair), sums);
    const __m256i chroma =
        _mm256_avg_epu16(_mm256_mulhi_epi16(odd_times<16>(s), sums), _mm256_mulhi_epi16(color.chroma, rest));
    store(dst, join_low_bytes(luma, chroma));
  }
};

// The plain kernel's twin: (s * k + c * (4096 - k)) / 4096 toward zero, the low 8 bits, byte 3 kept.
class ColorRgb32 {
 public:
  explicit ColorRgb32(uint32_t color)
      : color_(color),
        even_(even_bytes(_mm256_set1_epi32(static_cast<int32_t>(color)))),
        odd_(odd_bytes(_mm256_set1_epi32(static_cast<int32_t>(color)))) {}

  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* image, const uint8_t* key) const {
    const __m128i keys = load_half(key), most = _mm_set1_epi16(kFullKey);
    const __m256i s = load(image), k = _mm256_cvtepu16_epi32(keys);
    const bool on_scale = _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_max_epu16(keys, most), most)) == 0xFFFF;
    const __m256i blended = on_scale ? blend(s, twice(k)) : blend_any(s, k);
    const __m256i byte_3 = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000));
    store(dst, _mm256_blendv_epi8(blended, load(dst), byte_3));
  }

 private:
  // Sums are not negative: c + floor((s - c) * k / 4096).
  DORBMP_INLINE __m256i blend(__m256i image, __m256i keys) const {
    const auto toward = [&](__m256i times_16, __m256i color) {
      const __m256i apart = _mm256_sub_epi16(times_16, _mm256_slli_epi16(color, 4));
      return _mm256_add_epi16(color, _mm256_mulhi_epi16(apart, keys));
    };
    return join_low_bytes(toward(even_times<16>(image), even_), toward(odd_times<16>(image), odd_));
  }

  // Keys of 16 bits.
  DORBMP_INLINE __m256i blend_any(__m256i image, __m256i keys) const {
    return _mm256_or_si256(_mm256_or_si256(channel<0>(image, keys), channel<1>(image, keys)),
                           channel<2>(image, keys));
  }

  // One channel of eight pixels in 32-bit lanes: (s - c) * k + 4096 * c.
  template <int Channel>
  DORBMP_INLINE __m256i channel(__m256i image, __m256i keys) const {
    const auto c = static_cast<int32_t>(color_ >> 8 * Channel & 0xFF);
    const __m256i s = _mm256_and_si256(_mm256_srli_epi32(image, 8 * Channel), _mm256_set1_epi32(0xFF));
    const __m256i product = _mm256_mullo_epi32(_mm256_sub_epi32(s, _mm256_set1_epi32(c)), keys);
    const __m256i sum = _mm256_add_epi32(product, _mm256_set1_epi32(c * kFullKey));
    const __m256i toward_zero = _mm256_srli_epi32(_mm256_srai_epi32(sum, 31), 20);
    const __m256i quotient = _mm256_srli_epi32(_mm256_add_epi32(sum, toward_zero), 12);
    return _mm256_slli_epi32(_mm256_and_si256(quotient, _mm256_set1_epi32(0xFF)), 8 * Channel);
  }

  uint32_t color_;
  __m256i even_, odd_;  // the colour's bytes
};

template <int ImageUnit, class Step>
DORBMP_INLINE void border_row(int32_t count, Step step, uint8_t* dst, const uint8_t* background,
                              const uint8_t* foreground, const uint8_t* key, const uint8_t* border_key) {
  in_steps<ImageUnit>(count, dst, step, Stream<ImageUnit>{background}, Stream<ImageUnit>{foreground},
                      Stream<2>{key}, Stream<2>{border_key});
}

template <int ImageUnit, class Step>
DORBMP_INLINE void color_row(int32_t count, Step step, uint8_t* dst, const uint8_t* image,
                             const uint8_t* key) {
  in_steps<ImageUnit>(count, dst, step, Stream<ImageUnit>{image}, Stream<2>{key});
}

}  // namespace

// mmx
void BMP_CALL color_border_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                 const uint8_t* background, ptrdiff_t background_skip,
                                 const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                 ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                 uint32_t color) {
  const BorderRgb32 step(color);
  each_row(
      rows, [=](auto... row) { border_row<4>(count, step, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(background, background_skip, count, 4), Plane(foreground, foreground_skip, count, 4),
      Plane(key, key_skip, count, 2), Plane(border_key, border_key_skip, count, 2));
}

// mmx
void BMP_CALL color_border_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                const uint8_t* background, ptrdiff_t background_skip,
                                const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                uint32_t color) {
  const BorderYuy2 step{Yuy2Color(color)};
  each_row(
      rows, [=](auto... row) { border_row<2>(count & ~3, step, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(background, background_skip, count, 2), Plane(foreground, foreground_skip, count, 2),
      Plane(key, key_skip, count, 2), Plane(border_key, border_key_skip, count, 2));
}

// plain
void BMP_CALL color_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* image,
                          ptrdiff_t image_skip, const uint8_t* key, ptrdiff_t key_skip, uint32_t color) {
  const ColorRgb32 step(color);
  each_row(
      rows, [=](auto... row) { color_row<4>(count, step, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(image, image_skip, count, 4), Plane(key, key_skip, count, 2));
}

// mmx
void BMP_CALL color_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* image,
                         ptrdiff_t image_skip, const uint8_t* key, ptrdiff_t key_skip, uint32_t color) {
  const ColorYuy2 step{Yuy2Color(color)};
  each_row(
      rows, [=](auto... row) { color_row<2>(count & ~3, step, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(image, image_skip, count, 2), Plane(key, key_skip, count, 2));
}

}  // namespace dorbmp::compose::avx2
