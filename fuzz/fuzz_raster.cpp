// The bitmap's life, fills, lines, copies and interpolation, with any numbers.
#include <algorithm>

#include "input.h"

using namespace dorbmp;
using namespace dorbmp::fuzz;

namespace {

// Created, cleared whole, written at its corners, shown to no device and destroyed. Frames of many bytes, or
// of many empty lines, are left out: they would only take time.
void live(Input& input) {
  const int32_t width = input.coordinate(), height = input.coordinate();
  const uint32_t format = input.below(8);
  const int64_t line = (int64_t{width} * kBytesPerPixel[format] + 15) & ~int64_t{15};
  const bool is_created = width >= 0 && height >= 0 && line <= INT32_MAX && line * height <= INT32_MAX;
  const bool is_large = is_created && std::max<int64_t>(line, 1) * height > 1 << 20;
  if (is_large) return;
  Bitmap* bitmap = bmp_create(width, height, format, input.flags());
  if (bitmap == nullptr) return;
  bmp_clear(bitmap, input.flags());
  if (width > 0 && height > 0) {
    std::memset(bmp_pointer(bitmap, 0, 0), 1, 1);
    std::memset(bmp_pointer(bitmap, width - 1, height - 1), 2, static_cast<size_t>(bitmap->bytes_per_pixel));
  }
  bmp_set_palette(bitmap, input.flags(), input.take<uint32_t>());
  bmp_display(nullptr, input.coordinate(), input.coordinate(), width, height, bitmap, input.coordinate(),
              input.coordinate());
  bmp_destroy(bitmap);
}

void draw(Input& input) {
  const uint32_t format = input.below(8);
  const Size size(input);
  Picture picture(input, format, size);
  const bool is_alike = input.below(2) == 0;
  Picture other(input, is_alike ? format : input.below(8), is_alike ? size : Size(input));
  // In the order of the parameters: an argument list would be evaluated in an order of the compiler's.
  int32_t c[6];
  for (int32_t& value : c) value = input.coordinate();
  const uint32_t value = input.take<uint32_t>(), flags = input.flags();
  switch (input.below(7)) {
    case 0:
      bmp_draw_rect(&picture, c[0], c[1], c[2], c[3], value, flags);
      break;
    case 1:
      bmp_draw_line(&picture, c[0], c[1], c[2], c[3], value, flags);
      break;
    case 2:
      bmp_copy(&picture, &other, flags);
      break;
    case 3:
      bmp_blt(&picture, c[0], c[1], c[2], c[3], &other, c[4], c[5], flags);
      break;
    case 4:
      bmp_blt(&picture, c[0], c[1], c[2], c[3], &picture, c[4], c[5], flags);
      break;
    case 5:
      bmp_interporate(&picture, &other, flags);
      break;
    default:
      bmp_interporate(&picture, &picture, flags);
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  while (!input.is_empty()) {
    if (input.below(4) == 0) {
      live(input);
    } else {
      draw(input);
    }
  }
  return 0;
}
