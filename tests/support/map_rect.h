// What the tests of rectangle mapping share.
#pragma once

#include <memory>
#include <sstream>
#include <string>

#include "models/map_rect_model.h"
#include "support/frames.h"

namespace dorbmp::test {

inline constexpr uint32_t kRectFormats[] = {BMP_FORMAT_PAL8, BMP_FORMAT_RGB32, BMP_FORMAT_YUY2};

inline void map_rect(Frame& dst, Frame* cover, Frame& src, const RectCall& c) {
  bmp_map_rect(&dst, cover != nullptr ? &cover->bitmap() : nullptr, c.dst_x0, c.dst_y0, c.dst_x1, c.dst_y1,
               &src, nullptr, c.src_x0, c.src_y0, c.src_x1, c.src_y1, c.flags);
}

inline std::string describe(uint64_t seed, const RectCall& c, Frame& src) {
  std::ostringstream text;
  text << "seed " << seed << ": " << c.dst_x0 << "," << c.dst_y0 << " to " << c.dst_x1 << "," << c.dst_y1
       << " from " << c.src_x0 << "," << c.src_y0 << " to " << c.src_x1 << "," << c.src_y1 << " of "
       << src->width << " x " << src->height << ", flags " << c.flags << ", source mode " << src->field_mode;
  return text.str();
}

// A frame and its coverage, all zero.
struct Canvas {
  Frame frame, cover;
  Canvas(int32_t width, int32_t height, uint32_t format, Random& random)
      : frame(width, height, format, random), cover(width, height, BMP_FORMAT_KEY16, random) {
    bmp_clear(&frame, 0);
    bmp_clear(&cover, 0);
  }
  Frame* plane() { return frame->format != BMP_FORMAT_PAL8 ? std::addressof(cover) : nullptr; }
  void map(Frame& src, const RectCall& call) { map_rect(frame, plane(), src, call); }
};

inline void fill_flat(Frame& frame, uint32_t quad) {
  for (int32_t y = 0; y < frame->height; ++y) {
    for (int32_t x = 0; x < frame->pitch / 4; ++x) frame.set(x, y, quad);
  }
}

}  // namespace dorbmp::test
