#include <algorithm>
#include <cstring>

#include "dorbmp/bitmap.h"
#include "dorbmp/raster/raster.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DORBMP_SEES_ADDRESSES
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define DORBMP_SEES_ADDRESSES
#endif

namespace dorbmp::raster {
namespace {

// Stores a 32-bit word count times. The string instruction is as quick as memset on long runs and needs no
// instruction set; below some 256 words it takes longer to start than a loop takes to finish. The address
// sanitizer does not see it, so it gets the loop.
void store_words(uint8_t* to, uint32_t word, size_t count) {
#ifndef DORBMP_SEES_ADDRESSES
  if (count >= 256) {
    __asm__ volatile("rep stosl" : "+D"(to), "+c"(count) : "a"(word) : "memory");
    return;
  }
#endif
  for (; count > 0; --count, to += 4) std::memcpy(to, &word, 4);
}

struct Rect {
  uint8_t* first;
  ptrdiff_t pitch;
  size_t width;  // pixels
  size_t height;
};

void fill_row(uint8_t* row, size_t width, uint32_t value) {
  store_words(row, value, width);
}

// Words of two pixels, then the last pixel of an odd width.
void fill_row(uint8_t* row, size_t width, uint16_t value) {
  store_words(row, value * 0x10001u, width / 2);
  if (width % 2 != 0) std::memcpy(row + (width - 1) * 2, &value, 2);
}

template <class Pixel>
void fill(Rect rect, Pixel value) {
  if (rect.width * sizeof(Pixel) == static_cast<size_t>(rect.pitch)) {
    // Whole lines without padding are one run.
    rect.width *= rect.height;
    rect.height = 1;
  }
  uint8_t* row = rect.first;
  for (size_t y = 0; y < rect.height; ++y, row += rect.pitch) fill_row(row, rect.width, value);
}

template <class Operation>
void combine(const Rect& rect, Operation operation) {
  uint8_t* row = rect.first;
  for (size_t y = 0; y < rect.height; ++y, row += rect.pitch) {
    for (size_t x = 0; x < rect.width; ++x) row[x] = static_cast<uint8_t>(operation(row[x]));
  }
}

}  // namespace

void draw_rect(Bitmap& bitmap, int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t value,
               uint32_t op) {
  left = std::max(left, 0);
  top = std::max(top, 0);
  right = std::min(right, bitmap.width);
  bottom = std::min(bottom, bitmap.height);
  if (right <= left || bottom <= top) return;

  const Rect rect{pixel_address(bitmap, left, top), bitmap.pitch, static_cast<size_t>(right - left),
                  static_cast<size_t>(bottom - top)};
  if (bitmap.format == BMP_FORMAT_RGB32 && op == BMP_OP_SET) {
    fill(rect, value);
  } else if (bitmap.format == BMP_FORMAT_KEY16 && op == BMP_OP_SET) {
    fill(rect, static_cast<uint16_t>(value));
  } else if (bitmap.format == BMP_FORMAT_PAL8 && op == BMP_OP_OR) {
    combine(rect, [value](uint8_t byte) { return byte | value; });
  } else if (bitmap.format == BMP_FORMAT_PAL8 && op == BMP_OP_AND) {
    combine(rect, [value](uint8_t byte) { return byte & value; });
  }
}

}  // namespace dorbmp::raster
