// Writers of pixels that a smooth edge covers in part.
#pragma once

#include <cstdint>

#include "dorbmp/mapping/polygon/coverage.h"

namespace dorbmp::mapping {

// A pixel's coverage is the sum over three sub-lines, each counted in 1/4096 of a pixel.
inline constexpr int32_t kFullCoverage = 3 * 4096;

// Blends samples into pixels first to end - 1 of a line and of its coverage plane. Samples and coverages
// count from pixel base, which is even; a coverage of 0 leaves the pixel alone.
//
// Without a plane a pixel becomes the mix of sample and old value by its coverage. With one, the old value
// counts by how much of the pixel has been painted already, so that polygons which share an edge join
// without a seam.
using EdgeWriter = void(uint8_t* row, uint8_t* cover, const uint8_t* samples, const uint16_t* coverage,
                        int32_t base, int32_t first, int32_t end);

// The writer for a picture and the plane beside it; null where the picture's format has none. 16-bit planes
// have one writer, which leaves the plane beside them to its caller.
EdgeWriter* edge_writer(uint32_t format, const CoveragePlane& plane);

}  // namespace dorbmp::mapping
