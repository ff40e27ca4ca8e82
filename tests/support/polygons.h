// Polygons, and pictures to draw them from and into.
#pragma once

#include <vector>

#include "support/frames.h"

namespace dorbmp::test {

using Vertices = std::vector<PolygonVertex>;

inline void map(Frame& dst, Bitmap* cover, Bitmap* matte, Frame& texture, const Vertices& vertices,
                uint32_t flags) {
  bmp_map_polygon(&dst, cover, matte, &texture, nullptr, vertices.data(),
                  static_cast<int32_t>(vertices.size()), flags);
}

// A rectangle of the texture, shown as a rectangle.
inline Vertices rectangle(float x, float y, float width, float height, float u, float v, float texels,
                          float lines, float q = 1.0f) {
  return {{u, v, q, x, y},
          {u + texels, v, q, x + width, y},
          {u + texels, v + lines, q, x + width, y + height},
          {u, v + lines, q, x, y + height}};
}

inline void fill_constant(Frame& frame, uint8_t byte) {
  std::memset(frame.row(0), byte, static_cast<size_t>(frame->pitch) * static_cast<size_t>(frame->height));
}

inline void clear(Frame& frame) {
  fill_constant(frame, 0);
}

// What bmp_map_polygon has kernels for.
struct FormatPair {
  uint32_t texture, dst;
};
inline constexpr FormatPair kFormats[] = {{BMP_FORMAT_YUY2, BMP_FORMAT_YUY2},
                                          {BMP_FORMAT_RGB32, BMP_FORMAT_RGB32},
                                          {BMP_FORMAT_KEY16, BMP_FORMAT_KEY16},
                                          {BMP_FORMAT_KEY8, BMP_FORMAT_YUY2},
                                          {BMP_FORMAT_KEY8, BMP_FORMAT_RGB32}};

}  // namespace dorbmp::test
