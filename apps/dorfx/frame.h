// A working frame: a bitmap of the library and the size of the picture in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "dorbmp.h"
#include "dorfx/errors.h"

namespace dorfx {

struct DestroyBitmap {
  void operator()(Bitmap* bitmap) const { bmp_destroy(bitmap); }
};

// The bitmap is a little wider than the picture where that is no multiple of four pixels: colour composition
// leaves the last width % 4 pixels of a 4:2:2 line alone. It starts out zeroed, these columns included.
class Frame {
 public:
  Frame(int width, int height, PixelFormat format)
      : width_(width), bitmap_(bmp_create((width + 3) & ~3, height, format, BMP_CREATE_ZEROED)) {
    if (bitmap_ == nullptr) {
      throw Failure("a frame of " + std::to_string(width) + "x" + std::to_string(height),
                    "does not fit in memory", "use smaller clips");
    }
  }

  int width() const { return width_; }
  int height() const { return bitmap_->height; }
  PixelFormat format() const { return static_cast<PixelFormat>(bitmap_->format); }
  size_t row_bytes() const { return static_cast<size_t>(bitmap_->width) * bitmap_->bytes_per_pixel; }

  Bitmap* bitmap() { return bitmap_.get(); }
  const Bitmap* bitmap() const { return bitmap_.get(); }
  uint8_t* row(int y) { return static_cast<uint8_t*>(bmp_pointer(bitmap(), 0, y)); }
  const uint8_t* row(int y) const { return static_cast<const uint8_t*>(bmp_pointer(bitmap(), 0, y)); }

 private:
  int width_;
  std::unique_ptr<Bitmap, DestroyBitmap> bitmap_;
};

}  // namespace dorfx
