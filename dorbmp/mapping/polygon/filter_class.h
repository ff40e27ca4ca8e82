// How far a polygon shrinks its texture, and the filter that follows from it.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::mapping {

// Texels per destination pixel along the two directions of the texture as it lies on the screen.
struct Minification {
  float horizontal;
  float vertical;
};

// From the longest edge of the polygon: the texture's corners are turned as that edge turns from texture to
// screen, and bounding boxes compared. v_scale turns frame lines into lines of the texture.
Minification minification(const PolygonVertex* vertices, int32_t count, float v_scale);

// A footprint and what goes with it, in 16.16 texels.
struct Filter {
  int slot;
  // From the sample point to the footprint's first texel.
  float u_bias;
  float v_bias;
  // How much lower the limits are, so that the footprint stays inside the texture.
  int32_t u_margin;
  int32_t v_margin;
};

// No filter: the texel that holds the sample point.
inline constexpr Filter kNoFilter = {};

// matte: 8-bit textures have no kernel for the widest filter in both directions.
Filter choose_filter(Minification ratio, bool matte);

}  // namespace dorbmp::mapping
