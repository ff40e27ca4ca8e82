// Scan conversion written from its formulas: every line looks at every edge, nothing is sorted or kept.
#pragma once

#include <array>
#include <utility>
#include <vector>

#include "models/span_model.h"

namespace dorbmp::test {

struct PolygonCall {
  Frame& dst;
  Frame* cover;
  Frame* matte;  // depths
  Frame& texture;
  std::vector<PolygonVertex> vertices;
  uint32_t flags;
  uint32_t color;  // where the texture is 8-bit
  int level = 0;
};

// The filter that a polygon selects: slot, biases, and what is taken off the limits.
struct FilterModel {
  int slot;
  float u_bias, v_bias;
  float u_margin, v_margin;
};
FilterModel filter_by_ratios(float horizontal, float vertical);

// Draws as bmp_map_polygon must, edges not smooth. The texture must not be smaller than the filter.
void draw_polygon(const PolygonCall& call);

// A plane's u * q, v * q and q by place: a[0] * x + a[1] * y + a[2].
struct TexturePlane {
  std::array<double, 3> uq, vq, q;
};

// A convex polygon with smooth edges whose vertices lie in the plane, in real numbers: how much of each pixel
// is covered, by three sub-lines a line, and what the texture shows there, which is drawn into dst.
class SmoothModel {
 public:
  SmoothModel(const PolygonCall& call, const TexturePlane& plane);

  double coverage(int32_t x, int32_t y) const { return coverage_[index(x, y)]; }

 private:
  static std::pair<double, double> interval(const PolygonCall& call, int32_t sub_line);
  size_t index(int32_t x, int32_t y) const { return static_cast<size_t>(y * width_ + x); }

  int32_t width_;
  std::vector<double> coverage_;
};

}  // namespace dorbmp::test
