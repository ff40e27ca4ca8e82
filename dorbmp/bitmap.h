// The bitmap record: creation, addresses, whole-line clearing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dorbmp.h"

namespace dorbmp {

static_assert(sizeof(void*) != 4 || sizeof(Bitmap) == 48);
static_assert(sizeof(void*) != 8 || sizeof(Bitmap) == 56);
static_assert(offsetof(Bitmap, pixels) == 16);
static_assert(offsetof(Bitmap, fourcc) == 16 + 2 * sizeof(void*));
static_assert(offsetof(Bitmap, format) == 36 + 2 * sizeof(void*));

Bitmap* create(int32_t width, int32_t height, uint32_t format, uint32_t flags);
void destroy(Bitmap* bitmap);
void clear(Bitmap& bitmap, uint32_t flags);

// Byte offsets within a block are 32-bit and wrap; create() hands out no block that needs more.
constexpr int32_t pixel_offset(const Bitmap& bitmap, int32_t x, int32_t y) {
  return static_cast<int32_t>(static_cast<uint32_t>(x) * static_cast<uint32_t>(bitmap.bytes_per_pixel) +
                              static_cast<uint32_t>(y) * static_cast<uint32_t>(bitmap.pitch));
}

// In integers, because hosts may ask for addresses far outside the bitmap: on 32-bit targets the sum wraps.
inline uint8_t* pixel_address(const Bitmap& bitmap, int32_t x, int32_t y) {
  return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(bitmap.pixels) +
                                    static_cast<uintptr_t>(pixel_offset(bitmap, x, y)));
}

// Whether rows lines of row_bytes each lie inside the bitmap: what front ends ask before they call a kernel.
constexpr bool holds(const Bitmap& bitmap, int64_t row_bytes, int32_t rows) {
  return row_bytes <= bitmap.pitch && rows <= bitmap.height;
}

}  // namespace dorbmp
