// Rows of packed 4:2:2 for the two MMX families, which differ in how they spread a pair's keys over its four
// bytes: Y0 U Y1 V take k0 k0 k1 k0.
#pragma once

#include "dorbmp/cpu/mmx.h"
#include "dorbmp/fixed.h"

namespace dorbmp::compose {
namespace {  // files with different instruction sets must not share these

// floor(f * 16 * k / 65536) + floor(b * 16 * (4096 - k) / 65536): four bytes, their keys in 16-bit lanes.
DORBMP_INLINE __m64 blend_key16(__m64 foreground, __m64 background, __m64 keys) {
  const __m64 complement = _mm_sub_pi16(_mm_set1_pi16(kFullKey), keys);
  return _mm_add_pi16(high_product(_mm_slli_pi16(foreground, 4), keys),
                      high_product(_mm_slli_pi16(background, 4), complement));
}

// (f * k + b * (128 - k)) >> 7; the complement is formed in bytes, modulo 256.
DORBMP_INLINE __m64 blend_key8(__m64 foreground, __m64 background, __m64 keys) {
  const __m64 complement = _mm_and_si64(_mm_sub_pi16(_mm_set1_pi16(kFullKey8), keys), _mm_set1_pi16(0xFF));
  return _mm_srli_pi16(_mm_add_pi16(_mm_mullo_pi16(foreground, keys), _mm_mullo_pi16(background, complement)),
                       7);
}

// The low byte of each lane.
DORBMP_INLINE __m64 pack_low_bytes(__m64 low, __m64 high) {
  const __m64 mask = _mm_set1_pi16(0xFF);
  return _mm_packs_pu16(_mm_and_si64(low, mask), _mm_and_si64(high, mask));
}

template <class Spread>
DORBMP_INLINE void key16_yuy2_row(int32_t count, uint8_t* dst, const uint8_t* background,
                                  const uint8_t* foreground, const uint8_t* key) {
  for (; count >= 4; count -= 4) {
    const __m64 keys = load_8_bytes(key);
    const __m64 b = load_8_bytes(background);
    const __m64 f = load_8_bytes(foreground);
    const __m64 low = blend_key16(widen_low(f), widen_low(b), Spread::first_pair(keys));
    const __m64 high = blend_key16(widen_high(f), widen_high(b), Spread::second_pair(keys));
    store_8_bytes(dst, pack_low_bytes(low, high));
    dst += 8;
    background += 8;
    foreground += 8;
    key += 8;
  }
}

template <class Spread>
DORBMP_INLINE void key8_yuy2_row(int32_t count, uint8_t* dst, const uint8_t* background,
                                 const uint8_t* foreground, const uint8_t* key) {
  for (; count >= 4; count -= 4) {
    const __m64 keys = widen_low(load_4_bytes(key));
    const __m64 b = load_8_bytes(background);
    const __m64 f = load_8_bytes(foreground);
    const __m64 low = blend_key8(widen_low(f), widen_low(b), Spread::first_pair(keys));
    const __m64 high = blend_key8(widen_high(f), widen_high(b), Spread::second_pair(keys));
    store_8_bytes(dst, pack_low_bytes(low, high));
    dst += 8;
    background += 8;
    foreground += 8;
    key += 4;
  }
}

}  // namespace
}  // namespace dorbmp::compose
