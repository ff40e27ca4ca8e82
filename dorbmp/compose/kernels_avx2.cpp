// Keyed composition and the constant mix in AVX2: twins of other families' kernels at the highest level, byte
// for byte, keys off their scale included. No alignment is asked for. The family that each agrees with stands
// beside it; what is computed is told there.
#include "dorbmp/compose/each_row.h"
#include "dorbmp/compose/kernels.h"
#include "dorbmp/compose/steps_avx2.h"

namespace dorbmp::compose::avx2 {
namespace {

// Chroma weights from the keys of packed 4:2:2: the even pixel's key twice.
DORBMP_INLINE __m256i even_keys(__m256i keys) {
  const __m256i order =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13));
  return _mm256_shuffle_epi8(keys, order);
}

DORBMP_INLINE __m256i pixel_keys8(const uint8_t* key) {
  return twice(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(key))));
}

// Foreground and background in 1/16.
DORBMP_INLINE __m256i blend_key16(__m256i foreground, __m256i background, __m256i keys) {
  return _mm256_add_epi16(_mm256_mulhi_epi16(foreground, keys),
                          _mm256_mulhi_epi16(background, _mm256_sub_epi16(full_key(), keys)));
}

DORBMP_INLINE __m256i blend_key8(__m256i foreground, __m256i background, __m256i keys) {
  const __m256i complement = even_bytes(_mm256_sub_epi16(_mm256_set1_epi16(kFullKey8), keys));
  return _mm256_srli_epi16(
      _mm256_add_epi16(_mm256_mullo_epi16(foreground, keys), _mm256_mullo_epi16(background, complement)), 7);
}

struct Key16Yuy2 {
  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                const uint8_t* key) const {
    const __m256i b = load(background), f = load(foreground), k = load(key);
    const __m256i luma = blend_key16(even_times<16>(f), even_times<16>(b), k);
    const __m256i chroma = blend_key16(odd_times<16>(f), odd_times<16>(b), even_keys(k));
    store(dst, join_low_bytes(luma, chroma));
  }
};

struct Key8Yuy2 {
  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                const uint8_t* key) const {
    const __m256i b = load(background), f = load(foreground), k = _mm256_cvtepu8_epi16(load_half(key));
    const __m256i luma = blend_key8(even_bytes(f), even_bytes(b), k);
    const __m256i chroma = blend_key8(odd_bytes(f), odd_bytes(b), even_keys(k));
    store(dst, join_low_bytes(luma, chroma));
  }
};

struct Key16Rgb32 {
  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                const uint8_t* key) const {
    const __m256i b = load(background), f = load(foreground), k = pixel_keys16(key);
    store(dst, join_saturated(blend_key16(even_times<16>(f), even_times<16>(b), k),
                              blend_key16(odd_times<16>(f), odd_times<16>(b), k)));
  }
};

struct Key8Rgb32 {
  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
                                const uint8_t* key) const {
    const __m256i b = load(background), f = load(foreground), k = pixel_keys8(key);
    store(dst, join_saturated(blend_key8(even_bytes(f), even_bytes(b), k),
                              blend_key8(odd_bytes(f), odd_bytes(b), k)));
  }
};

struct Mix {
  __m256i wb, wf;

  // Background and foreground in 1/64.
  DORBMP_INLINE __m256i blend(__m256i background, __m256i foreground) const {
    const __m256i quarters =
        _mm256_add_epi16(_mm256_mulhi_epi16(background, wb), _mm256_mulhi_epi16(foreground, wf));
    return _mm256_srai_epi16(_mm256_add_epi16(quarters, _mm256_set1_epi16(2)), 2);
  }

  DORBMP_INLINE void operator()(uint8_t* dst, const uint8_t* background, const uint8_t* foreground) const {
    const __m256i b = load(background), f = load(foreground);
    store(dst, join_saturated(blend(even_times<64>(b), even_times<64>(f)),
                              blend(odd_times<64>(b), odd_times<64>(f))));
  }
};

template <int ImageUnit, int KeyUnit, class Step>
DORBMP_INLINE void keyed_row(int32_t count, Step step, uint8_t* dst, const uint8_t* background,
                             const uint8_t* foreground, const uint8_t* key) {
  in_steps<ImageUnit>(count, dst, step, Stream<ImageUnit>{background}, Stream<ImageUnit>{foreground},
                      Stream<KeyUnit>{key});
}

}  // namespace

// mmx
void BMP_CALL key16_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                          const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                          ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [=](auto... row) { keyed_row<4, 2>(count, Key16Rgb32{}, row...); },
      Plane(dst, dst_skip, count, 4), Plane(background, background_skip, count, 4),
      Plane(foreground, foreground_skip, count, 4), Plane(key, key_skip, count, 2));
}

// mmx
void BMP_CALL key8_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [=](auto... row) { keyed_row<4, 1>(count & ~1, Key8Rgb32{}, row...); },
      Plane(dst, dst_skip, count, 4), Plane(background, background_skip, count, 4),
      Plane(foreground, foreground_skip, count, 4), Plane(key, key_skip, count, 1));
}

// mmxext and, where rows are aligned, sse2
void BMP_CALL key16_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [=](auto... row) { keyed_row<2, 2>(count & ~3, Key16Yuy2{}, row...); },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 2));
}

// mmxext and sse2
void BMP_CALL key8_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                        const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                        ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [=](auto... row) { keyed_row<2, 1>(count & ~3, Key8Yuy2{}, row...); },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 1));
}

// mmx and sse2
void BMP_CALL mix(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* background,
                  ptrdiff_t background_skip, int32_t background_weight, const uint8_t* foreground,
                  ptrdiff_t foreground_skip, int32_t level) {
  const Mix step{_mm256_set1_epi16(static_cast<int16_t>(background_weight)),
                 _mm256_set1_epi16(static_cast<int16_t>(level))};
  each_row(
      rows,
      [=](uint8_t* d, const uint8_t* b, const uint8_t* f) {
        in_steps<1>(count & ~3, d, step, Stream<1>{b}, Stream<1>{f});
      },
      Plane(dst, dst_skip, count, 1), Plane(background, background_skip, count, 1),
      Plane(foreground, foreground_skip, count, 1));
}

}  // namespace dorbmp::compose::avx2
