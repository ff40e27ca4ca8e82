// The device-independent-bitmap header of a frame, and the frame on a device context.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp {

// Field for field the header that the operating system's display call takes: 40 bytes.
struct DisplayHeader {
  uint32_t header_size;
  int32_t width;
  int32_t height;  // negative: lines run top-down
  uint16_t planes;
  uint16_t bit_count;
  uint32_t compression;
  uint32_t image_size;
  int32_t horizontal_resolution;
  int32_t vertical_resolution;
  uint32_t colors_used;
  uint32_t colors_important;
};
static_assert(sizeof(DisplayHeader) == 40);

inline constexpr uint32_t kPaletteEntries = 256;

// The bitmap's header, built and kept on the first call; null where it could not be allocated. A palettised
// bitmap's header is followed by its 256 quads, black until set_palette fills them.
DisplayHeader* display_header(Bitmap& bitmap);

int32_t display(void* device, int32_t dest_x, int32_t dest_y, int32_t width, int32_t height, Bitmap& bitmap,
                int32_t src_x, int32_t start_line);

// palette.cpp
void* set_palette(Bitmap& bitmap, uint32_t index, uint32_t quad);
uint32_t translate_color(uint32_t color);

}  // namespace dorbmp
