// The eighteen exports. Each hands its bitmaps to the front end that does the work.
#include "dorbmp.h"

#include "dorbmp/alpha/alpha.h"
#include "dorbmp/bitmap.h"
#include "dorbmp/compose/compose.h"
#include "dorbmp/display.h"
#include "dorbmp/load.h"
#include "dorbmp/mapping/polygon/map_polygon.h"
#include "dorbmp/mapping/rect/map_rect.h"
#include "dorbmp/raster/raster.h"

using namespace dorbmp;

extern "C" {

Bitmap* BMP_CALL bmp_create(int32_t width, int32_t height, uint32_t format, uint32_t flags) {
  return create(width, height, format, flags);
}

void BMP_CALL bmp_destroy(Bitmap* bitmap) {
  destroy(bitmap);
}

void* BMP_CALL bmp_pointer(const Bitmap* bitmap, int32_t x, int32_t y) {
  return pixel_address(*bitmap, x, y);
}

void BMP_CALL bmp_clear(Bitmap* bitmap, uint32_t flags) {
  clear(*bitmap, flags);
}

void* BMP_CALL bmp_set_palette(Bitmap* bitmap, uint32_t index, uint32_t quad) {
  return set_palette(*bitmap, index, quad);
}

uint32_t BMP_CALL bmp_translate_color(const Bitmap*, uint32_t color) {
  return translate_color(color);
}

int32_t BMP_CALL bmp_display(void* device, int32_t dest_x, int32_t dest_y, int32_t width, int32_t height,
                             Bitmap* bitmap, int32_t src_x, int32_t start_line) {
  return display(device, dest_x, dest_y, width, height, *bitmap, src_x, start_line);
}

void BMP_CALL bmp_draw_rect(Bitmap* bitmap, int32_t left, int32_t top, int32_t right, int32_t bottom,
                            uint32_t value, uint32_t op) {
  raster::draw_rect(*bitmap, left, top, right, bottom, value, op);
}

void BMP_CALL bmp_draw_line(Bitmap* bitmap, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t value,
                            uint32_t op) {
  raster::draw_line(*bitmap, x0, y0, x1, y1, value, op);
}

void BMP_CALL bmp_copy(Bitmap* destination, const Bitmap* source, uint32_t flags) {
  raster::copy(*destination, *source, flags);
}

void BMP_CALL bmp_blt(Bitmap* destination, int32_t dest_x, int32_t dest_y, int32_t width, int32_t height,
                      const Bitmap* source, int32_t src_x, int32_t src_y, uint32_t flags) {
  raster::blt(*destination, dest_x, dest_y, width, height, *source, src_x, src_y, flags);
}

void BMP_CALL bmp_interporate(Bitmap* destination, const Bitmap* source, uint32_t flags) {
  raster::interpolate(*destination, *source, flags);
}

void BMP_CALL bmp_compose(Bitmap* destination, const Bitmap* background, const Bitmap* foreground,
                          const void* key, uint32_t flags) {
  compose::compose(*destination, *background, *foreground, key, flags);
}

void BMP_CALL bmp_compose_color(Bitmap* destination, const Bitmap* background, const Bitmap* foreground,
                                const Bitmap* key, const Bitmap* border_key, uint32_t color, uint32_t flags) {
  compose::compose_color(*destination, *background, foreground, *key, border_key, color, flags);
}

void BMP_CALL bmp_alpha_rect(Bitmap* bitmap, float x, float y, float width, float height, float radius_x,
                             float radius_y, uint32_t flags) {
  alpha::alpha_rect(*bitmap, x, y, width, height, radius_x, radius_y, flags);
}

void BMP_CALL bmp_alpha_circle(Bitmap* bitmap, float cx, float cy, float radius, float softness, float aspect,
                               uint32_t flags) {
  alpha::alpha_circle(*bitmap, cx, cy, radius, softness, aspect, flags);
}

void BMP_CALL bmp_map_polygon(Bitmap* destination, Bitmap* cover, Bitmap* matte, const void* texture_a,
                              const void* texture_b, const PolygonVertex* vertices, int32_t count,
                              uint32_t flags) {
  mapping::map_polygon(destination, cover, matte, texture_a, texture_b, vertices, count, flags);
}

void BMP_CALL bmp_map_rect(Bitmap* destination, Bitmap* cover, float dst_x0, float dst_y0, float dst_x1,
                           float dst_y1, const Bitmap* source, const int32_t* source_extent, float src_x0,
                           float src_y0, float src_x1, float src_y1, uint32_t flags) {
  mapping::map_rect(*destination, cover, dst_x0, dst_y0, dst_x1, dst_y1, *source, source_extent, src_x0,
                    src_y0, src_x1, src_y1, flags);
}

}  // extern "C"

// A program that links the static library gets the load-time entry with any export.
[[gnu::used]] static const bool* const kEntryIsLinked = &platform::entry_is_linked;
