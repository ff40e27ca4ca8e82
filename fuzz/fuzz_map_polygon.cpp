// bmp_map_polygon with any vertices, flags, formats and sizes, at any level.
#include <vector>

#include "input.h"

using namespace dorbmp;
using namespace dorbmp::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kFormats[] = {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_KEY16, BMP_FORMAT_KEY8,
                                   BMP_FORMAT_PAL8};
  Input input(data, size);
  const test::AtLevel at(setting(input));
  const uint32_t flags = input.take<uint16_t>();
  const uint32_t format = kFormats[input.below(5)];
  Picture texture(input, input.below(4) == 0 ? kFormats[input.below(5)] : format, Size(input));
  const Size dst_size(input);
  const auto same_or_other = [&] { return input.below(8) == 0 ? Size(input) : dst_size; };
  Picture dst(input, format, dst_size);
  Picture cover(input, input.below(2) == 0 ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16, same_or_other());
  Picture depths(input, BMP_FORMAT_RGB32, same_or_other());
  std::vector<float> depth_row(static_cast<size_t>(dst_size.width));
  const uint32_t planes = input.below(4);

  PolygonVertex vertices[24];
  int32_t count = 0;
  while (count < 24 && !input.is_empty()) {
    PolygonVertex& vertex = vertices[count++];
    for (float* field : {&vertex.u, &vertex.v, &vertex.q, &vertex.x, &vertex.y}) *field = input.real();
    if (input.below(2) == 0) vertex.q = 1.0f;
    // A walk of many lines from far above takes long and shows nothing new.
    if (vertex.y < -5000.0f) vertex.y = -5000.0f;
  }
  const bool fills = (flags & BMP_MAP_ONE_VALUE) == BMP_MAP_ONE_VALUE;
  const bool takes_color = fills || texture->format == BMP_FORMAT_KEY8;
  const void* const value = takes_color ? BMP_VALUE(flags * 0x010101) : depth_row.data();
  bmp_map_polygon(&dst, (planes & 1) != 0 ? &cover : nullptr, (planes & 2) != 0 ? &depths : nullptr,
                  (flags & BMP_MAP_AUX) != 0 ? value : &texture,
                  fills ? BMP_VALUE(planes * 2000) : static_cast<const void*>(&texture), vertices, count,
                  flags);
  return 0;
}
