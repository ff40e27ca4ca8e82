// Loads, stores and moves for the AVX2 kernels of rectangle mapping.
#pragma once

#include <immintrin.h>

#include "dorbmp/compiler.h"

namespace dorbmp::mapping::avx2 {
namespace {

template <class Type>
DORBMP_INLINE __m256i load(const Type* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

template <class Type>
DORBMP_INLINE __m128i load_half(const Type* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

template <class Type>
DORBMP_INLINE void store(Type* to, __m256i value) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

template <class Type>
DORBMP_INLINE void store_half(Type* to, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

DORBMP_INLINE __m128i high_half(__m256i value) {
  return _mm256_extracti128_si256(value, 1);
}

// The low half of a vector's low half and of its high half change places with the high ones between them:
// what undoes the interleaving of packs and unpacks.
DORBMP_INLINE __m256i swap_middle(__m256i value) {
  return _mm256_permute4x64_epi64(value, 0b11'01'10'00);
}

// Of two vectors, the even lanes of 32 bits and the odd ones, interleaved as by packs.
DORBMP_INLINE __m256i even_lanes(__m256i a, __m256i b) {
  return _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0b10'00'10'00));
}

DORBMP_INLINE __m256i odd_lanes(__m256i a, __m256i b) {
  return _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0b11'01'11'01));
}

}  // namespace
}  // namespace dorbmp::mapping::avx2
