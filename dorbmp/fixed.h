// Fixed-point scales and the library's roundings. docs/rounding.md tells which kernel uses which.
#pragma once

#include <cstdint>

namespace dorbmp {

inline constexpr int32_t kFullKey = 4096;   // 1.0 in a 16-bit key plane and of a mix level
inline constexpr int32_t kFullKey8 = 128;   // 1.0 in an 8-bit key plane and of a filter weight
inline constexpr int32_t kFullPair = 8192;  // 1.0 where a pair of 16-bit keys is summed for its chroma

namespace {  // files with different instruction sets must not share these

// Quotients by a scale. The three differ on negative values, which keys off their scale produce, and in the
// half that to_nearest adds.
template <int32_t Scale>
constexpr int32_t truncating(int32_t value) {
  return value / Scale;
}

template <int Bits>
constexpr int32_t floor_shift(int32_t value) {
  return value >> Bits;
}

template <int Bits>
constexpr int32_t to_nearest(int32_t value) {
  return (value + (1 << (Bits - 1))) >> Bits;
}

}  // namespace
}  // namespace dorbmp
