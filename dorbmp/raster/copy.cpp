#include <algorithm>

#include "dorbmp/bitmap.h"
#include "dorbmp/fields.h"
#include "dorbmp/raster/raster.h"
#include "dorbmp/raster/rows.h"

namespace dorbmp::raster {
namespace {

int64_t byte_size(const Bitmap& bitmap) {
  return int64_t{bitmap.pitch} * bitmap.height;
}

// One run: sized by the source, cut to what the destination holds.
void copy_frame(Bitmap& dst, const Bitmap& src) {
  const int64_t bytes = std::min(byte_size(src), byte_size(dst));
  if (bytes > 0) copy_forward(dst.pixels, src.pixels, static_cast<size_t>(bytes));
}

// Line by line: sized by the destination, cut to what the source holds.
void copy_field(Bitmap& dst, const Bitmap& src, FieldRows rows) {
  const int32_t count = rows.count(std::min(dst.height, src.height));
  const int32_t bytes = std::min(dst.pitch, src.pitch);
  if (bytes <= 0) return;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t y = rows.first + i * rows.step;
    copy_forward(pixel_address(dst, 0, y), pixel_address(src, 0, y), static_cast<size_t>(bytes));
  }
}

}  // namespace

void copy(Bitmap& dst, const Bitmap& src, uint32_t flags) {
  if ((flags & BMP_FIELD_ONLY) != 0) {
    copy_field(dst, src, FieldRows(flags));
  } else {
    copy_frame(dst, src);
  }
}

}  // namespace dorbmp::raster
