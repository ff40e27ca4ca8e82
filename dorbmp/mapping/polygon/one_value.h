// Polygons of one flat value, always with smooth edges.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::mapping {

// value: a packed colour (YUY2: Y, U, V in bits 16, 8, 0 and up; RGB32: bits 0..7 to byte 0, and so on, byte
// 3 stays). opacity: 0 to 4096. Other formats draw nothing.
void fill_polygon(const Bitmap& dst, const Bitmap* cover, uint32_t value, int32_t opacity,
                  const PolygonVertex* vertices, int32_t count, uint32_t flags);

}  // namespace dorbmp::mapping
