// bmp_map_rect with arbitrary coordinates, flags, formats and sizes, at any level.
#include "input.h"

using namespace dorbmp;
using namespace dorbmp::fuzz;

namespace {

// Wide enough for several strips.
Size wide(Input& input) {
  const int32_t width = input.take<uint16_t>() % 700;
  return {width, input.take<uint8_t>() % 40};
}

// A float of any bits, or one near the bitmaps' sizes.
float coordinate(Input& input) {
  if (input.below(4) == 0) return input.take<float>();
  return static_cast<float>(input.take<int32_t>() % (1 << 22)) / 4096;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kDrawn[] = {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_PAL8};
  Input input(data, size);
  const test::AtLevel at(setting(input));
  const uint32_t format = kDrawn[input.below(3)];
  const uint32_t source_format = input.below(4) == 0 ? input.below(8) : format;
  const Size dst_size = wide(input);
  Picture dst(input, format, dst_size);
  Picture cover(input, BMP_FORMAT_KEY16, input.below(8) == 0 ? wide(input) : dst_size);
  Picture source(input, source_format, wide(input));
  float f[8];
  for (float& value : f) value = coordinate(input);
  bmp_map_rect(&dst, format == BMP_FORMAT_PAL8 ? nullptr : &cover, f[0], f[1], f[2], f[3], &source, nullptr,
               f[4], f[5], f[6], f[7], input.take<uint8_t>());
  return 0;
}
