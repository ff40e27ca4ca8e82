// Composition in SSE2, aligned: eight pixels of packed 4:2:2 or sixteen bytes a step. The values of the MMX
// families, byte for byte. Images, and 16-bit keys, are read and written with aligned accesses.
#include <emmintrin.h>

#include "dorbmp/compiler.h"
#include "dorbmp/compose/each_row.h"
#include "dorbmp/compose/kernels.h"
#include "dorbmp/fixed.h"

namespace dorbmp::compose::sse2 {
namespace {

DORBMP_INLINE __m128i load(const uint8_t* from) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(from));
}

DORBMP_INLINE void store(uint8_t* to, __m128i value) {
  _mm_store_si128(reinterpret_cast<__m128i*>(to), value);
}

DORBMP_INLINE __m128i widen_low(__m128i bytes) {
  return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

DORBMP_INLINE __m128i widen_high(__m128i bytes) {
  return _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
}

// k0 k0 k1 k1 of two pairs to k0 k0 k1 k0: chroma takes the even pixel's key.
DORBMP_INLINE __m128i even_into_last(__m128i pairs) {
  constexpr int kEvenLast = _MM_SHUFFLE(0, 2, 0, 0);
  return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pairs, kEvenLast), kEvenLast);
}

DORBMP_INLINE __m128i blend_key16(__m128i foreground, __m128i background, __m128i keys) {
  const __m128i complement = _mm_sub_epi16(_mm_set1_epi16(kFullKey), keys);
  return _mm_add_epi16(_mm_mulhi_epi16(_mm_slli_epi16(foreground, 4), keys),
                       _mm_mulhi_epi16(_mm_slli_epi16(background, 4), complement));
}

DORBMP_INLINE __m128i blend_key8(__m128i foreground, __m128i background, __m128i keys) {
  const __m128i complement =
      _mm_and_si128(_mm_sub_epi16(_mm_set1_epi16(kFullKey8), keys), _mm_set1_epi16(0xFF));
  return _mm_srli_epi16(
      _mm_add_epi16(_mm_mullo_epi16(foreground, keys), _mm_mullo_epi16(background, complement)), 7);
}

DORBMP_INLINE __m128i pack_low_bytes(__m128i low, __m128i high) {
  const __m128i mask = _mm_set1_epi16(0xFF);
  return _mm_packus_epi16(_mm_and_si128(low, mask), _mm_and_si128(high, mask));
}

void key16_yuy2_row(int32_t count, uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                    const uint8_t* key) {
  for (; count >= 8; count -= 8) {
    const __m128i keys = load(key);
    const __m128i b = load(background);
    const __m128i f = load(foreground);
    const __m128i low =
        blend_key16(widen_low(f), widen_low(b), even_into_last(_mm_unpacklo_epi16(keys, keys)));
    const __m128i high =
        blend_key16(widen_high(f), widen_high(b), even_into_last(_mm_unpackhi_epi16(keys, keys)));
    store(dst, pack_low_bytes(low, high));
    dst += 16;
    background += 16;
    foreground += 16;
    key += 16;
  }
}

void key8_yuy2_row(int32_t count, uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                   const uint8_t* key) {
  for (; count >= 8; count -= 8) {
    const __m128i keys = widen_low(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(key)));
    const __m128i b = load(background);
    const __m128i f = load(foreground);
    const __m128i low =
        blend_key8(widen_low(f), widen_low(b), even_into_last(_mm_unpacklo_epi16(keys, keys)));
    const __m128i high =
        blend_key8(widen_high(f), widen_high(b), even_into_last(_mm_unpackhi_epi16(keys, keys)));
    store(dst, pack_low_bytes(low, high));
    dst += 16;
    background += 16;
    foreground += 16;
    key += 8;
  }
}

DORBMP_INLINE __m128i mix_8(__m128i background, __m128i foreground, __m128i wb, __m128i wf) {
  const __m128i quarters = _mm_add_epi16(_mm_mulhi_epi16(_mm_slli_epi16(background, 6), wb),
                                         _mm_mulhi_epi16(_mm_slli_epi16(foreground, 6), wf));
  return _mm_srai_epi16(_mm_add_epi16(quarters, _mm_set1_epi16(2)), 2);
}

void mix_row(int32_t count, __m128i wb, __m128i wf, uint8_t* dst, const uint8_t* background,
             const uint8_t* foreground) {
  for (; count >= 16; count -= 16) {
    const __m128i b = load(background);
    const __m128i f = load(foreground);
    store(dst, _mm_packus_epi16(mix_8(widen_low(b), widen_low(f), wb, wf),
                                mix_8(widen_high(b), widen_high(f), wb, wf)));
    dst += 16;
    background += 16;
    foreground += 16;
  }
}

}  // namespace

void BMP_CALL key16_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [count](auto... row) { key16_yuy2_row(count, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(background, background_skip, count, 2), Plane(foreground, foreground_skip, count, 2),
      Plane(key, key_skip, count, 2));
}

void BMP_CALL key8_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                        const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                        ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [count](auto... row) { key8_yuy2_row(count, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(background, background_skip, count, 2), Plane(foreground, foreground_skip, count, 2),
      Plane(key, key_skip, count, 1));
}

void BMP_CALL mix(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* background,
                  ptrdiff_t background_skip, int32_t background_weight, const uint8_t* foreground,
                  ptrdiff_t foreground_skip, int32_t level) {
  const __m128i wb = _mm_set1_epi16(static_cast<int16_t>(background_weight));
  const __m128i wf = _mm_set1_epi16(static_cast<int16_t>(level));
  each_row(
      rows, [=](auto... row) { mix_row(count, wb, wf, row...); }, Plane(dst, dst_skip, count, 1),
      Plane(background, background_skip, count, 1), Plane(foreground, foreground_skip, count, 1));
}

}  // namespace dorbmp::compose::sse2
