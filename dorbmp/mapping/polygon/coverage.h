// The coverage plane beside a picture: one byte a pixel, full at 128, or one word, full at 4096.
#pragma once

#include <algorithm>
#include <cstring>

#include "dorbmp/bitmap.h"
#include "dorbmp/fixed.h"

namespace dorbmp::mapping {

class CoveragePlane {
 public:
  explicit CoveragePlane(const Bitmap* plane) : plane_(plane) {}

  bool is_given() const { return plane_ != nullptr; }
  bool is_8_bit() const { return plane_->format == BMP_FORMAT_KEY8; }
  uint8_t* row(int32_t y) const { return is_given() ? pixel_address(*plane_, 0, y) : nullptr; }

  // Whether the plane, if there is one, covers the picture.
  bool covers(const Bitmap& dst) const {
    return !is_given() || holds(*plane_, int64_t{is_8_bit() ? 1 : 2} * dst.width, dst.height);
  }

  void fill(int32_t y, int32_t first, int32_t end) const {
    if (!is_given()) return;
    uint8_t* const line = row(y);
    if (is_8_bit()) {
      std::memset(line + first, kFullKey8, static_cast<size_t>(end - first));
      return;
    }
    for (int32_t x = first; x < end; ++x) {
      const uint16_t full = kFullKey;
      std::memcpy(line + static_cast<ptrdiff_t>(x) * 2, &full, sizeof(full));
    }
  }

 private:
  const Bitmap* plane_;
};

// Whether every line's pixels lie within the pitch, and the sizes are sizes. A pair of 4:2:2 pixels is whole.
inline bool is_sound(const Bitmap& bitmap) {
  const int64_t pixels = int64_t{bitmap.width} + (bitmap.format == BMP_FORMAT_YUY2 ? bitmap.width & 1 : 0);
  return bitmap.width > 0 && bitmap.height > 0 && pixels * bitmap.bytes_per_pixel <= bitmap.pitch;
}

}  // namespace dorbmp::mapping
