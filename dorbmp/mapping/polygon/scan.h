// Scan conversion: a polygon into horizontal spans, one kernel call each.
#pragma once

#include <algorithm>

#include "dorbmp/mapping/polygon/span_painter.h"

namespace dorbmp::mapping {

// A pixel belongs to the polygon where its centre does; even-odd where edges cross.
void scan_polygon(const Bitmap& dst, const Bitmap* cover, const Mapping& mapping,
                  const PolygonVertex* vertices, int32_t count);

// The columns of the first pixels whose centres lie at these places or to their right, 0 to width.
DORBMP_INLINE Int4 first_pixels(Float4 x, int32_t width) {
  const Float4 zero = {}, limit = zero + std::min(static_cast<float>(width), kFarthest / 4096.0f);
  const Float4 positive = x > zero ? x : zero;
  const Float4 inside = positive < limit ? positive : limit;
  return (2047 - DORBMP_TRUNCATE(-4096.0f * inside)) >> 12;
}

}  // namespace dorbmp::mapping
