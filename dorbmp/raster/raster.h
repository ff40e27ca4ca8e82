// Fills, lines, copies and field interpolation. include/dorbmp.h says what each does.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::raster {

void draw_rect(Bitmap& bitmap, int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t value,
               uint32_t op);
void draw_line(Bitmap& bitmap, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t value, uint32_t op);
void copy(Bitmap& dst, const Bitmap& src, uint32_t flags);
void blt(Bitmap& dst, int32_t dest_x, int32_t dest_y, int32_t width, int32_t height, const Bitmap& src,
         int32_t src_x, int32_t src_y, uint32_t flags);
void interpolate(Bitmap& dst, const Bitmap& src, uint32_t flags);

}  // namespace dorbmp::raster
