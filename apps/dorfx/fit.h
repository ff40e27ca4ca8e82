// Where a picture of another size and shape goes in the frame.
#pragma once

#include "dorfx/av.h"

namespace dorfx {

enum class Fit { kScale, kPad, kCrop, kError };

// The picture is scaled to width x height; its part from (crop_x, crop_y) on is laid at (x, y) and seen as
// far as the frame reaches. Horizontal positions are even, so that 4:2:2 pairs stay together; vertical ones
// too, so that fields do.
struct Placement {
  int width = 0, height = 0;
  int x = 0, y = 0;
  int crop_x = 0, crop_y = 0;
};

struct PictureShape {
  int width = 0, height = 0;
  AVRational sample_aspect{1, 1};
};

Placement place(const PictureShape& picture, const PictureShape& frame, Fit fit);

}  // namespace dorfx
