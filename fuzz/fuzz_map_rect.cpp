// bmp_map_rect with arbitrary coordinates, flags, formats and sizes on real bitmaps. The address sanitizer
// sees what leaves them; the frames end where their blocks end.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "dorbmp.h"
#include "fuzz/input.h"

namespace {

using dorbmp::fuzz::Input;

// A record over a block of exactly its lines.
Bitmap make_bitmap(Input& input, uint32_t format) {
  constexpr int32_t kBytes[] = {2, 4, 2, 4, 4, 4, 1, 1};
  Bitmap bitmap = {};
  bitmap.format = format;
  bitmap.bytes_per_pixel = kBytes[format];
  bitmap.bits_per_pixel = 8 * bitmap.bytes_per_pixel;
  bitmap.width = input.take<uint16_t>() % 700;
  bitmap.height = input.take<uint8_t>() % 40;
  bitmap.field_mode = input.take<uint8_t>() & 3;
  bitmap.pitch = (bitmap.width * bitmap.bytes_per_pixel + 15) & ~15;
  bitmap.pixels = static_cast<uint8_t*>(
      std::calloc(static_cast<size_t>(bitmap.pitch), static_cast<size_t>(bitmap.height)));
  return bitmap;
}

// A float of any bits, or one near the bitmaps' sizes.
float coordinate(Input& input) {
  if (input.take<uint8_t>() % 4 == 0) return input.take<float>();
  return static_cast<float>(input.take<int32_t>() % (1 << 22)) / 4096;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  constexpr uint32_t kDrawn[] = {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_PAL8};
  const uint32_t format = kDrawn[input.take<uint8_t>() % 3];
  const uint32_t source_format = input.take<uint8_t>() % 4 == 0 ? input.take<uint8_t>() % 8u : format;
  Bitmap dst = make_bitmap(input, format);
  Bitmap cover = make_bitmap(input, BMP_FORMAT_KEY16);
  Bitmap src = make_bitmap(input, source_format);
  float at[8];
  for (float& value : at) value = coordinate(input);
  bmp_map_rect(&dst, format == BMP_FORMAT_PAL8 ? nullptr : &cover, at[0], at[1], at[2], at[3], &src, nullptr,
               at[4], at[5], at[6], at[7], input.take<uint8_t>());
  std::free(dst.pixels);
  std::free(cover.pixels);
  std::free(src.pixels);
  return 0;
}
