// The three row drivers of rectangle mapping, by destination.
#pragma once

#include "dorbmp/mapping/rect/area_walk.h"

namespace dorbmp::mapping {

void map_rows_mono8(const RectMapping& mapping);
void map_rows_rgb32(const RectMapping& mapping);
void map_rows_yuy2(const RectMapping& mapping);

}  // namespace dorbmp::mapping
