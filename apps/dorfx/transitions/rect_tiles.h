// A frame put together from rectangles at sub-pixel positions. Where two meet within a pixel, it becomes
// their mean by area: no seam, and nothing of what stood there before.
#pragma once

#include "dorfx/frame.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {

// In pixels and lines.
struct Box {
  double left, top, right, bottom;
};

class RectTiles {
 public:
  explicit RectTiles(const Stage& stage)
      : width_(stage.width), height_(stage.height), cover_(stage.width, stage.height, BMP_FORMAT_KEY16) {}

  Box frame() const { return {0, 0, static_cast<double>(width_), static_cast<double>(height_)}; }

  // Starts a frame or field of `out`.
  void begin(Bitmap* out, uint32_t fields);
  // Draws the part of the picture into the place, which may stick out of the frame. An empty one is nothing.
  void tile(const Bitmap* picture, const Box& part, const Box& place);
  // The same place in the picture.
  void keep(const Bitmap* picture, const Box& place) { tile(picture, place, place); }
  // What lies between the two boxes, as it is in the picture; inner lies within outer.
  void keep_around(const Bitmap* picture, const Box& outer, const Box& inner);

 private:
  int width_, height_;
  Frame cover_;
  Bitmap* out_ = nullptr;
  uint32_t fields_ = BMP_FRAME;
};

}  // namespace dorfx
