// What the key shapes must write, pixel by pixel.
#pragma once

#include "support/frames.h"

namespace dorbmp::test {

struct RectShape {
  float x, y, width, height, radius_x, radius_y;
};

struct CircleShape {
  float cx, cy, radius, softness, aspect;
};

// Draw into the frame, from the formulas.
void model_alpha_rect(Frame& plane, const RectShape& shape, uint32_t flags);  // plain mode
void model_alpha_circle(Frame& plane, const CircleShape& shape, uint32_t flags);

// The profile of a soft edge, 1 at distance 0 to 0 at distance 1.
double model_profile(double distance, uint32_t flags);

// Means over a pixel, 0..4096, from 64 x 64 samples of the ideal shape.
double model_rounded_mean(const RectShape& shape, int32_t x, int32_t y, uint32_t flags);
double model_circle_mean(const CircleShape& shape, int32_t x, int32_t y, uint32_t flags);

}  // namespace dorbmp::test
