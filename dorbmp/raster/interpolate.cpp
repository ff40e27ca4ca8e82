#include <cstring>

#include "dorbmp/bitmap.h"
#include "dorbmp/raster/raster.h"

namespace dorbmp::raster {
namespace {

// (a + b + 1) >> 1 a byte; compilers know it as one packed instruction.
void average_row(uint8_t* dst, const uint8_t* above, const uint8_t* below, int32_t bytes) {
  for (int32_t i = 0; i < bytes; ++i) dst[i] = static_cast<uint8_t>((above[i] + below[i] + 1) >> 1);
}

}  // namespace

void interpolate(Bitmap& dst, const Bitmap& src, uint32_t flags) {
  const int32_t parity = flags & BMP_FIELD_ODD;
  const int32_t height = dst.height;
  if (height <= parity || dst.pitch <= 0 || src.height < height || src.pitch != dst.pitch) return;

  const auto from = [&](int32_t y) { return pixel_address(src, 0, y); };
  const auto copy_row = [&](int32_t to, int32_t y) {
    uint8_t* row = pixel_address(dst, 0, to);
    if (row != from(y)) std::memcpy(row, from(y), static_cast<size_t>(dst.pitch));
  };

  if (parity == 1) copy_row(0, 1);
  copy_row(parity, parity);
  int32_t last = parity;
  for (; last < height - 2; last += 2) {
    average_row(pixel_address(dst, 0, last + 1), from(last), from(last + 2), dst.pitch);
    copy_row(last + 2, last + 2);
  }
  if (last == height - 2) copy_row(height - 1, last);
}

}  // namespace dorbmp::raster
