// MMX in named primitives, for files of the MMX families alone.
#pragma once

#include <mmintrin.h>

#include <cstdint>
#include <cstring>

#include "dorbmp/compiler.h"

namespace dorbmp {
namespace {  // files with different instruction sets must not share these

// MMX registers are the floating-point stack's: whoever uses them hands the stack back empty. First in each
// MMX kernel; no floating-point expression within its scope.
struct MmxScope {
  ~MmxScope() { _mm_empty(); }
};

DORBMP_INLINE __m64 load_8_bytes(const uint8_t* from) {
  __m64 value;
  std::memcpy(&value, from, sizeof(value));
  return value;
}

DORBMP_INLINE void store_8_bytes(uint8_t* to, __m64 value) {
  std::memcpy(to, &value, sizeof(value));
}

// By way of a general register: compilers that may use SSE would load through an XMM one.
DORBMP_INLINE __m64 from_integer(int32_t value) {
  __asm__("" : "+r"(value));
  return _mm_cvtsi32_si64(value);
}

DORBMP_INLINE __m64 load_4_bytes(const uint8_t* from) {
  int32_t value;
  std::memcpy(&value, from, sizeof(value));
  return from_integer(value);
}

DORBMP_INLINE void store_4_bytes(uint8_t* to, __m64 value) {
  const int32_t bytes = _mm_cvtsi64_si32(value);
  std::memcpy(to, &bytes, sizeof(bytes));
}

// Four bytes to four 16-bit lanes.
DORBMP_INLINE __m64 widen_low(__m64 bytes) {
  return _mm_unpacklo_pi8(bytes, _mm_setzero_si64());
}

DORBMP_INLINE __m64 widen_high(__m64 bytes) {
  return _mm_unpackhi_pi8(bytes, _mm_setzero_si64());
}

// floor(a * b / 65536), signed lanes.
DORBMP_INLINE __m64 high_product(__m64 a, __m64 b) {
  return _mm_mulhi_pi16(a, b);
}

}  // namespace
}  // namespace dorbmp
