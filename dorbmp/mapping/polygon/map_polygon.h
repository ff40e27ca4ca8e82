// Textured polygons.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::mapping {

// The arguments of the export; a null destination means that the coverage plane is the destination.
void map_polygon(Bitmap* dst, Bitmap* cover, Bitmap* depths, const void* texture_a, const void* texture_b,
                 const PolygonVertex* vertices, int32_t count, uint32_t flags);

}  // namespace dorbmp::mapping
