// Scan conversion written from its formulas: every line looks at every edge, nothing is sorted or kept.
#pragma once

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
};

// The filter that a polygon selects: slot, biases, and what is taken off the limits.
struct FilterModel {
  int slot;
  float u_bias, v_bias;
  float u_margin, v_margin;
};
FilterModel filter_by_ratios(float horizontal, float vertical);

// Draws as bmp_map_polygon must at level 0, edges not smooth. The texture must not be smaller than the
// filter.
void draw_polygon(const PolygonCall& call);

}  // namespace dorbmp::test
