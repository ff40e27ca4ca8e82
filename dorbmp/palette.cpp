#include <cstring>

#include "dorbmp/display.h"

namespace dorbmp {

void* set_palette(Bitmap& bitmap, uint32_t index, uint32_t quad) {
  DisplayHeader* header = display_header(bitmap);
  // Only the palettised format's header has room for entries.
  if (header != nullptr && bitmap.format == BMP_FORMAT_PAL8 && index < kPaletteEntries) {
    std::memcpy(reinterpret_cast<uint8_t*>(header + 1) + index * sizeof(quad), &quad, sizeof(quad));
  }
  return header;
}

uint32_t translate_color(uint32_t color) {
  return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}

}  // namespace dorbmp
