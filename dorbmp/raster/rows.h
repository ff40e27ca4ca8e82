// Row primitives of the raster operations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace dorbmp::raster {

// Copies forwards in 32-bit words, then bytes. Where the rows overlap with dst ahead, the words repeat, as
// they always have.
inline void copy_forward(uint8_t* dst, const uint8_t* src, size_t bytes) {
  if (dst <= src || dst >= src + bytes) {
    std::memmove(dst, src, bytes);
    return;
  }
  size_t i = 0;
  for (; i + 4 <= bytes; i += 4) {
    uint32_t word;
    std::memcpy(&word, src + i, 4);
    std::memcpy(dst + i, &word, 4);
  }
  for (; i < bytes; ++i) dst[i] = src[i];
}

}  // namespace dorbmp::raster
