// Rectangle mapping as the plain two-dimensional walk: every pixel over every sample beneath it.
#pragma once

#include "support/frames.h"

namespace dorbmp::test {

struct RectCall {
  float dst_x0, dst_y0, dst_x1, dst_y1;
  float src_x0, src_y0, src_x1, src_y1;
  uint32_t flags;
};

// Draws into dst, and cover where the destination has one. The source's pixels have the driver's size.
void model_map_rect(Frame& dst, Frame* cover, Frame& src, const RectCall& call);

}  // namespace dorbmp::test
