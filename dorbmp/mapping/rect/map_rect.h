// Rectangle mapping by exact area weighting.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::mapping {

void map_rect(Bitmap& dst, Bitmap* cover, float dst_x0, float dst_y0, float dst_x1, float dst_y1,
              const Bitmap& src, const int32_t* src_extent, float src_x0, float src_y0, float src_x1,
              float src_y1, uint32_t flags);

}  // namespace dorbmp::mapping
