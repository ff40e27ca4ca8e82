// Frames to work on, drawn from formulas.
#pragma once

#include <memory>

#include "dorbmp.h"

namespace dorbmp::gallery {

struct Destroy {
  void operator()(Bitmap* bitmap) const { bmp_destroy(bitmap); }
};
using Frame = std::unique_ptr<Bitmap, Destroy>;

// Zeroed.
Frame make_frame(int32_t width, int32_t height, uint32_t format);

Frame make_key(int32_t width, int32_t height);

// Two pictures that are easy to tell apart: a coast by day, and hills at night. formats: RGB32 or YUY2.
// shift moves the sun, the moon and the ground sideways, in pixels.
Frame day(int32_t width, int32_t height, uint32_t format, int32_t shift = 0);
Frame night(int32_t width, int32_t height, uint32_t format, int32_t shift = 0);

}  // namespace dorbmp::gallery
