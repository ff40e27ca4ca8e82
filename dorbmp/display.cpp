#include "dorbmp/display.h"

#include <cstdlib>
#include <new>

#include "dorbmp/platform/device.h"

namespace dorbmp {
namespace {

DisplayHeader* build_header(const Bitmap& bitmap) {
  const bool palettised = bitmap.format == BMP_FORMAT_PAL8;
  const size_t size = sizeof(DisplayHeader) + (palettised ? kPaletteEntries * sizeof(uint32_t) : 0);
  void* block = std::calloc(size, 1);
  if (block == nullptr) return nullptr;
  const int32_t bytes_per_pixel = bitmap.bytes_per_pixel;
  return new (block) DisplayHeader{
      .header_size = sizeof(DisplayHeader),
      // The padding is part of the image, so that the lines follow one another without a gap.
      .width = bytes_per_pixel != 0 ? bitmap.pitch / bytes_per_pixel : 0,
      .height = -bitmap.height,
      .planes = 1,
      .bit_count = static_cast<uint16_t>(static_cast<uint32_t>(bytes_per_pixel) * 8),
      .compression = 0,
      .image_size = 0,
      .horizontal_resolution = 0,
      .vertical_resolution = 0,
      .colors_used = palettised ? kPaletteEntries : 0,
      .colors_important = 0,
  };
}

}  // namespace

DisplayHeader* display_header(Bitmap& bitmap) {
  if (bitmap.display_header == nullptr) bitmap.display_header = build_header(bitmap);
  return static_cast<DisplayHeader*>(bitmap.display_header);
}

int32_t display(void* device, int32_t dest_x, int32_t dest_y, int32_t width, int32_t height, Bitmap& bitmap,
                int32_t src_x, int32_t start_line) {
  return platform::set_lines_to_device({.device = device,
                                        .dest_x = dest_x,
                                        .dest_y = dest_y,
                                        .width = width,
                                        .height = height,
                                        .src_x = src_x,
                                        .start_line = start_line,
                                        .lines = bitmap.height,
                                        .bits = bitmap.pixels,
                                        .header = display_header(bitmap)});
}

}  // namespace dorbmp
