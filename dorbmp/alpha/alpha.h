// Key shapes: coverage on the 4096 scale, drawn into 16-bit planes.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::alpha {

void alpha_rect(Bitmap& plane, float x, float y, float width, float height, float radius_x, float radius_y,
                uint32_t flags);

void alpha_circle(Bitmap& plane, float cx, float cy, float radius, float softness, float aspect,
                  uint32_t flags);

}  // namespace dorbmp::alpha
