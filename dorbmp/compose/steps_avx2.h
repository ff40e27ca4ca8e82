// What the AVX2 composition kernels share: rows in steps of 32 bytes, and bytes as words and back.
#pragma once

#include <immintrin.h>

#include <cstring>

#include "dorbmp/compiler.h"
#include "dorbmp/fixed.h"

namespace dorbmp::compose::avx2 {
namespace {  // files with different instruction sets must not share these

constexpr int kStep = 32;  // bytes of the destination

DORBMP_INLINE __m256i load(const uint8_t* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

DORBMP_INLINE __m128i load_half(const uint8_t* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

DORBMP_INLINE void store(uint8_t* to, __m256i value) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

// One plane of a row: its bytes for each pixel, or for each byte of a mix.
template <int Unit>
struct Stream {
  const uint8_t* at;
};

// Calls step for every 32 bytes of the row. The rest goes through buffers, so that no byte beyond it is read
// or written; the destination's bytes are there too, for steps that keep some.
template <int DstUnit, class Step, int... Units>
DORBMP_INLINE void in_steps(int32_t count, uint8_t* dst, Step step, Stream<Units>... sources) {
  constexpr int kUnits = kStep / DstUnit;
  for (; count >= kUnits; count -= kUnits) {
    step(dst, sources.at...);
    dst += kStep;
    ((sources.at += kUnits * Units), ...);
  }
  if (count <= 0) return;
  struct Buffer {
    alignas(kStep) uint8_t bytes[kStep] = {};
    Buffer(const uint8_t* from, size_t size) { std::memcpy(bytes, from, size); }
  };
  const auto units = static_cast<size_t>(count);
  Buffer out(dst, units * DstUnit);
  step(out.bytes, Buffer(sources.at, units * Units).bytes...);
  std::memcpy(dst, out.bytes, units * DstUnit);
}

// A vector of bytes is worked on as its even bytes and its odd bytes, each in 16-bit lanes, and put together
// again at the end. In packed 4:2:2 the even bytes are the luma and the odd ones the chroma: the keys of the
// pixels are the luma's weights as they lie in memory.

// Every even (odd) byte times Gain, at most 64: widens and scales in one instruction.
template <int Gain>
DORBMP_INLINE __m256i even_times(__m256i bytes) {
  return _mm256_maddubs_epi16(bytes, _mm256_set1_epi16(Gain));
}

template <int Gain>
DORBMP_INLINE __m256i odd_times(__m256i bytes) {
  return _mm256_maddubs_epi16(bytes, _mm256_set1_epi16(Gain << 8));
}

DORBMP_INLINE __m256i even_bytes(__m256i bytes) {
  return _mm256_and_si256(bytes, _mm256_set1_epi16(0xFF));
}

DORBMP_INLINE __m256i odd_bytes(__m256i bytes) {
  return _mm256_srli_epi16(bytes, 8);
}

DORBMP_INLINE __m256i join_low_bytes(__m256i even, __m256i odd) {
  return _mm256_or_si256(even_bytes(even), _mm256_slli_epi16(odd, 8));
}

DORBMP_INLINE __m256i join_saturated(__m256i even, __m256i odd) {
  const __m256i halves = _mm256_packus_epi16(even, odd);
  const __m256i order =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
  return _mm256_shuffle_epi8(halves, order);
}

// 32-bit pixels: eight keys, each for the two even and for the two odd bytes of its pixel.
DORBMP_INLINE __m256i twice(__m256i words_in_dwords) {
  return _mm256_or_si256(words_in_dwords, _mm256_slli_epi32(words_in_dwords, 16));
}

DORBMP_INLINE __m256i pixel_keys16(const uint8_t* key) {
  return twice(_mm256_cvtepu16_epi32(load_half(key)));
}

DORBMP_INLINE __m256i full_key() {
  return _mm256_set1_epi16(kFullKey);
}

}  // namespace
}  // namespace dorbmp::compose::avx2
