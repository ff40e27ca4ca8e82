// bmp_map_polygon with any vertices, flags, formats and sizes, at any level.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dorbmp.h"
#include "dorbmp/cpu/span_tables.h"
#include "fuzz/input.h"

namespace {

using dorbmp::fuzz::Input;

Bitmap* take_bitmap(Input& input, uint32_t format) {
  const int32_t width = input.below(48), height = input.below(24);
  const uint32_t field_mode = static_cast<uint32_t>(input.below(4));
  return bmp_create(width, height, format, field_mode | BMP_CREATE_ZEROED);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kTextures[] = {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_KEY16, BMP_FORMAT_KEY8,
                                    BMP_FORMAT_PAL8};
  Input input(data, size);
  dorbmp::install_span_tables(static_cast<dorbmp::CpuLevel>(input.below(dorbmp::kLevels)));
  const uint32_t flags = input.take<uint16_t>();
  Bitmap* const texture = take_bitmap(input, kTextures[input.below(5)]);
  Bitmap* const dst = take_bitmap(input, kTextures[input.below(5)]);
  Bitmap* const cover = take_bitmap(input, kTextures[input.below(5)]);
  Bitmap* const matte = take_bitmap(input, BMP_FORMAT_RGB32);
  const int32_t planes = input.below(4);

  // A row of depths serves as a colour as well as any number.
  static float row[48];
  const bool has_value = (flags & BMP_MAP_AUX) != 0;
  PolygonVertex vertices[24];
  int32_t count = 0;
  while (count < 24 && !input.is_empty()) {
    PolygonVertex& vertex = vertices[count++];
    vertex = input.take<PolygonVertex>();
    // A walk of many lines from far above takes long and shows nothing new.
    if (vertex.y < -5000.0f) vertex.y = -5000.0f;
  }
  const bool fills = (flags & BMP_MAP_ONE_VALUE) == BMP_MAP_ONE_VALUE;
  bmp_map_polygon(dst, (planes & 1) != 0 ? cover : nullptr, (planes & 2) != 0 ? matte : nullptr,
                  has_value ? static_cast<const void*>(row) : texture,
                  fills ? BMP_VALUE(planes * 2000) : static_cast<const void*>(texture), vertices, count,
                  flags);
  for (Bitmap* bitmap : {texture, dst, cover, matte}) bmp_destroy(bitmap);
  return 0;
}
