// Scan conversion: a polygon into horizontal spans, one kernel call each.
#pragma once

#include <algorithm>

#include "dorbmp/mapping/polygon/span_painter.h"

namespace dorbmp::mapping {

// A pixel belongs to the polygon where its centre does; even-odd where edges cross.
void scan_polygon(const Bitmap& dst, const Bitmap* cover, const Mapping& mapping,
                  const PolygonVertex* vertices, int32_t count);

// The column of the first pixel whose centre lies at x or to its right, 0 to width.
inline int32_t first_pixel(float x, int32_t width) {
  const auto position = static_cast<int32_t>(std::clamp(-4096.0f * x, -kFarthest, kFarthest));
  return std::clamp((2047 - position) >> 12, 0, width);
}

}  // namespace dorbmp::mapping
