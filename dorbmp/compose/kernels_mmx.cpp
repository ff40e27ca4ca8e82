// Composition in MMX.
//
// 16-bit keys: each term floored on its own, floor(f * 16 * k / 65536), so results equal the plain ones or
// are one less. 8-bit keys: the plain values. Constant mix: terms floored in quarter units, the sum rounded
// to nearest. Colour: terms floored in half units on 4:2:2 and the sum rounded, in whole units on RGB32.
// RGB32 saturates and writes all four bytes; 4:2:2 stores low bytes. Keys are signed 16-bit numbers here.
#include <cstring>

#include "dorbmp/compose/each_row.h"
#include "dorbmp/compose/kernels.h"
#include "dorbmp/compose/rows_mmx.h"

namespace dorbmp::compose::mmx {
namespace {

struct SpreadByShift {
  static DORBMP_INLINE __m64 first_pair(__m64 keys) { return even_into_last(_mm_unpacklo_pi16(keys, keys)); }
  static DORBMP_INLINE __m64 second_pair(__m64 keys) { return even_into_last(_mm_unpackhi_pi16(keys, keys)); }

 private:
  // k0 k0 k1 k1 to k0 k0 k1 k0.
  static DORBMP_INLINE __m64 even_into_last(__m64 pairs) {
    return _mm_or_si64(_mm_srli_si64(_mm_slli_si64(pairs, 16), 16), _mm_slli_si64(pairs, 48));
  }
};

DORBMP_INLINE __m64 spread_all(__m64 keys_in_lane_0) {
  const __m64 pair = _mm_unpacklo_pi16(keys_in_lane_0, keys_in_lane_0);
  return _mm_unpacklo_pi32(pair, pair);
}

DORBMP_INLINE __m64 spread_key(const uint8_t* key) {
  uint16_t value;
  std::memcpy(&value, key, sizeof(value));
  return spread_all(from_integer(value));
}

DORBMP_INLINE void key16_rgb32_pixel(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                     __m64 keys) {
  const __m64 sum =
      blend_key16(widen_low(load_4_bytes(foreground)), widen_low(load_4_bytes(background)), keys);
  store_4_bytes(dst, _mm_packs_pu16(sum, sum));
}

void key16_rgb32_row(int32_t count, uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                     const uint8_t* key) {
  for (; count >= 2; count -= 2) {
    const __m64 keys = load_4_bytes(key);
    const __m64 b = load_8_bytes(background);
    const __m64 f = load_8_bytes(foreground);
    const __m64 first = blend_key16(widen_low(f), widen_low(b), spread_all(keys));
    const __m64 second = blend_key16(widen_high(f), widen_high(b), spread_all(_mm_srli_si64(keys, 16)));
    store_8_bytes(dst, _mm_packs_pu16(first, second));
    dst += 8;
    background += 8;
    foreground += 8;
    key += 4;
  }
  if (count != 0) key16_rgb32_pixel(dst, background, foreground, spread_key(key));
}

void key8_rgb32_row(int32_t count, uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                    const uint8_t* key) {
  for (; count >= 2; count -= 2) {
    const __m64 b = load_8_bytes(background);
    const __m64 f = load_8_bytes(foreground);
    const __m64 first = blend_key8(widen_low(f), widen_low(b), spread_all(from_integer(key[0])));
    const __m64 second = blend_key8(widen_high(f), widen_high(b), spread_all(from_integer(key[1])));
    store_8_bytes(dst, _mm_packs_pu16(first, second));
    dst += 8;
    background += 8;
    foreground += 8;
    key += 2;
  }
}

DORBMP_INLINE void mix_row(int32_t count, __m64 background_weight, __m64 foreground_weight, uint8_t* dst,
                           const uint8_t* background, const uint8_t* foreground) {
  const __m64 half = _mm_set1_pi16(2);
  for (; count >= 4; count -= 4) {
    const __m64 b = _mm_slli_pi16(widen_low(load_4_bytes(background)), 6);
    const __m64 f = _mm_slli_pi16(widen_low(load_4_bytes(foreground)), 6);
    const __m64 quarters =
        _mm_add_pi16(high_product(b, background_weight), high_product(f, foreground_weight));
    const __m64 sum = _mm_srai_pi16(_mm_add_pi16(quarters, half), 2);
    store_4_bytes(dst, _mm_packs_pu16(sum, sum));
    dst += 4;
    background += 4;
    foreground += 4;
  }
}

// Luma bytes in 1/32, chroma bytes in 1/16: their weights are on the 4096 and on the 8192 scale.
DORBMP_INLINE __m64 in_half_units(__m64 yuyv) {
  const __m64 chroma = _mm_set_pi16(-1, 0, -1, 0);
  return _mm_add_pi16(_mm_slli_pi16(yuyv, 4), _mm_andnot_si64(chroma, _mm_slli_pi16(yuyv, 4)));
}

DORBMP_INLINE __m64 color_in_half_units(uint32_t color) {
  const auto y = static_cast<int16_t>(color >> 16 & 0xFF);
  return in_half_units(
      _mm_set_pi16(static_cast<int16_t>(color & 0xFF), y, static_cast<int16_t>(color >> 8 & 0xFF), y));
}

// k0 k0 k1 k1 to k0, k0 + k1, k1, k0 + k1: the sum of both keys weighs the chroma of their pair.
DORBMP_INLINE __m64 with_sums(__m64 pairs) {
  const __m64 chroma = _mm_set_pi16(-1, 0, -1, 0);
  const __m64 swapped = _mm_or_si64(_mm_slli_si64(pairs, 32), _mm_srli_si64(pairs, 32));
  return _mm_add_pi16(pairs, _mm_and_si64(swapped, chroma));
}

DORBMP_INLINE __m64 full_weights() {
  return _mm_set_pi16(kFullPair, kFullKey, kFullPair, kFullKey);
}

DORBMP_INLINE __m64 halve_to_nearest(__m64 sums) {
  return _mm_srli_pi16(_mm_add_pi16(sums, _mm_set1_pi16(1)), 1);
}

DORBMP_INLINE __m64 blend_border_pair(__m64 background, __m64 foreground, __m64 color, __m64 key_pairs,
                                      __m64 border_pairs) {
  const __m64 ka = with_sums(key_pairs);
  const __m64 kb = with_sums(border_pairs);
  const __m64 back = high_product(in_half_units(background), _mm_sub_pi16(full_weights(), kb));
  const __m64 fore = high_product(in_half_units(foreground), ka);
  const __m64 band = high_product(color, _mm_sub_pi16(kb, ka));
  return halve_to_nearest(_mm_add_pi16(_mm_add_pi16(back, fore), band));
}

DORBMP_INLINE void border_yuy2_row(int32_t count, __m64 color, uint8_t* dst, const uint8_t* background,
                                   const uint8_t* foreground, const uint8_t* key, const uint8_t* border_key) {
  for (; count >= 4; count -= 4) {
    const __m64 ka = load_8_bytes(key);
    const __m64 kb = load_8_bytes(border_key);
    const __m64 b = load_8_bytes(background);
    const __m64 f = load_8_bytes(foreground);
    const __m64 low = blend_border_pair(widen_low(b), widen_low(f), color, _mm_unpacklo_pi16(ka, ka),
                                        _mm_unpacklo_pi16(kb, kb));
    const __m64 high = blend_border_pair(widen_high(b), widen_high(f), color, _mm_unpackhi_pi16(ka, ka),
                                         _mm_unpackhi_pi16(kb, kb));
    store_8_bytes(dst, pack_low_bytes(low, high));
    dst += 8;
    background += 8;
    foreground += 8;
    key += 8;
    border_key += 8;
  }
}

DORBMP_INLINE void border_rgb32_row(int32_t count, __m64 color, uint8_t* dst, const uint8_t* background,
                                    const uint8_t* foreground, const uint8_t* key,
                                    const uint8_t* border_key) {
  const __m64 full = _mm_set1_pi16(kFullKey);
  for (; count > 0; --count) {
    const __m64 ka = spread_key(key);
    const __m64 kb = spread_key(border_key);
    const __m64 b = _mm_slli_pi16(widen_low(load_4_bytes(background)), 4);
    const __m64 f = _mm_slli_pi16(widen_low(load_4_bytes(foreground)), 4);
    const __m64 back = high_product(b, _mm_sub_pi16(full, kb));
    const __m64 band = high_product(color, _mm_sub_pi16(kb, ka));
    const __m64 sum = _mm_add_pi16(_mm_add_pi16(back, high_product(f, ka)), band);
    store_4_bytes(dst, _mm_packs_pu16(sum, sum));
    dst += 4;
    background += 4;
    foreground += 4;
    key += 2;
    border_key += 2;
  }
}

DORBMP_INLINE __m64 blend_color_pair(__m64 image, __m64 color, __m64 key_pairs) {
  const __m64 k = with_sums(key_pairs);
  return halve_to_nearest(_mm_add_pi16(high_product(in_half_units(image), k),
                                       high_product(color, _mm_sub_pi16(full_weights(), k))));
}

DORBMP_INLINE void color_yuy2_row(int32_t count, __m64 color, uint8_t* dst, const uint8_t* image,
                                  const uint8_t* key) {
  for (; count >= 4; count -= 4) {
    const __m64 keys = load_8_bytes(key);
    const __m64 s = load_8_bytes(image);
    const __m64 low = blend_color_pair(widen_low(s), color, _mm_unpacklo_pi16(keys, keys));
    const __m64 high = blend_color_pair(widen_high(s), color, _mm_unpackhi_pi16(keys, keys));
    store_8_bytes(dst, pack_low_bytes(low, high));
    dst += 8;
    image += 8;
    key += 8;
  }
}

}  // namespace

void BMP_CALL key16_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                          const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                          ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  const MmxScope scope;
  each_row(
      rows, [count](auto... row) { key16_rgb32_row(count, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(background, background_skip, count, 4), Plane(foreground, foreground_skip, count, 4),
      Plane(key, key_skip, count, 2));
}

void BMP_CALL key8_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  const MmxScope scope;
  each_row(
      rows, [count](auto... row) { key8_rgb32_row(count, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(background, background_skip, count, 4), Plane(foreground, foreground_skip, count, 4),
      Plane(key, key_skip, count, 1));
}

void BMP_CALL key16_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  const MmxScope scope;
  each_row(
      rows, [count](auto... row) { key16_yuy2_row<SpreadByShift>(count, row...); },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 2));
}

void BMP_CALL key8_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                        const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                        ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  const MmxScope scope;
  each_row(
      rows, [count](auto... row) { key8_yuy2_row<SpreadByShift>(count, row...); },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 1));
}

void BMP_CALL mix(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* background,
                  ptrdiff_t background_skip, int32_t background_weight, const uint8_t* foreground,
                  ptrdiff_t foreground_skip, int32_t level) {
  const MmxScope scope;
  const __m64 wb = _mm_set1_pi16(static_cast<int16_t>(background_weight));
  const __m64 wf = _mm_set1_pi16(static_cast<int16_t>(level));
  each_row(
      rows, [=](auto... row) { mix_row(count, wb, wf, row...); }, Plane(dst, dst_skip, count, 1),
      Plane(background, background_skip, count, 1), Plane(foreground, foreground_skip, count, 1));
}

void BMP_CALL color_border_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                 const uint8_t* background, ptrdiff_t background_skip,
                                 const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                 ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                 uint32_t color) {
  const MmxScope scope;
  const __m64 bytes = _mm_slli_pi16(widen_low(from_integer(static_cast<int32_t>(color))), 4);
  each_row(
      rows, [=](auto... row) { border_rgb32_row(count, bytes, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(background, background_skip, count, 4), Plane(foreground, foreground_skip, count, 4),
      Plane(key, key_skip, count, 2), Plane(border_key, border_key_skip, count, 2));
}

void BMP_CALL color_border_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                const uint8_t* background, ptrdiff_t background_skip,
                                const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                uint32_t color) {
  const MmxScope scope;
  const __m64 yuyv = color_in_half_units(color);
  each_row(
      rows, [=](auto... row) { border_yuy2_row(count, yuyv, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(background, background_skip, count, 2), Plane(foreground, foreground_skip, count, 2),
      Plane(key, key_skip, count, 2), Plane(border_key, border_key_skip, count, 2));
}

void BMP_CALL color_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* image,
                         ptrdiff_t image_skip, const uint8_t* key, ptrdiff_t key_skip, uint32_t color) {
  const MmxScope scope;
  const __m64 yuyv = color_in_half_units(color);
  each_row(
      rows, [=](auto... row) { color_yuy2_row(count, yuyv, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(image, image_skip, count, 2), Plane(key, key_skip, count, 2));
}

}  // namespace dorbmp::compose::mmx
