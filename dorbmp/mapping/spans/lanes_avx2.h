// Eight pixels to a register, a pixel to a lane.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "dorbmp/compiler.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

constexpr int32_t kBlock = 8;

DORBMP_INLINE __m256i all(int32_t value) {
  return _mm256_set1_epi32(value);
}

DORBMP_INLINE __m256i lane_numbers() {
  return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
}

// Lanes 0 to count - 1.
DORBMP_INLINE __m256i first_lanes(int32_t count) {
  return _mm256_cmpgt_epi32(all(count), lane_numbers());
}

// As one constant: a shuffle then takes it from memory.
template <class... Byte>
DORBMP_INLINE __m256i in_both_halves(Byte... bytes) {
  return _mm256_setr_epi8(static_cast<char>(bytes)..., static_cast<char>(bytes)...);
}

// Scalar loads from memory are quicker than moves out of the register.
DORBMP_INLINE void store(int32_t (&to)[kBlock], __m256i values) {
  _mm256_storeu_si256(static_cast<__m256i*>(static_cast<void*>(to)), values);
  DORBMP_FORGET(to);
}

DORBMP_INLINE __m256i gather(const uint8_t* from, __m256i offsets) {
  return _mm256_i32gather_epi32(static_cast<const int*>(static_cast<const void*>(from)), offsets, 1);
}

}  // namespace
}  // namespace dorbmp::spans
