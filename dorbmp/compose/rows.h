// How the composition front ends turn bitmaps into kernel arguments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "dorbmp/bitmap.h"
#include "dorbmp/fields.h"

namespace dorbmp::compose {

constexpr int64_t image_pixel_bytes(const Bitmap& dst) {
  return dst.format == BMP_FORMAT_RGB32 ? 4 : 2;
}

// First row and skip of one bitmap, for rows of which row_bytes are processed.
struct Rows {
  uint8_t* first;
  ptrdiff_t skip;

  Rows(const Bitmap& bitmap, FieldRows fields, int64_t row_bytes)
      : first(pixel_address(bitmap, 0, fields.first)),
        skip(static_cast<ptrdiff_t>(int64_t{bitmap.pitch} * fields.step - row_bytes)) {}
};

struct RowNeed {
  const Bitmap& bitmap;
  int64_t row_bytes;
};

// Rows to process; 0 where a bitmap is too small for its part: narrower than width pixels, fewer bytes a
// line than its row needs, or lower than the destination.
inline int32_t rows_of(FieldRows fields, const Bitmap& dst, int32_t width,
                       std::initializer_list<RowNeed> needs) {
  for (const RowNeed& need : needs) {
    if (need.bitmap.width < width || !holds(need.bitmap, need.row_bytes, dst.height)) return 0;
  }
  return fields.count(dst.height);
}

}  // namespace dorbmp::compose
