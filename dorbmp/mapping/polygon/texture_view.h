// The lines of a texture that a polygon takes its pixels from: all of them, or those of one field.
#pragma once

#include <algorithm>

#include "dorbmp/bitmap.h"

namespace dorbmp::mapping {

struct TextureView {
  const uint8_t* src;
  int32_t pitch;
  int32_t width;
  int32_t height;
  // Coordinates count lines of the whole frame: what turns them into lines of this view. The field's first
  // line lies a quarter of its line step above or below the middle of the pair.
  float v_scale = 1.0f;
  float v_bias = 0.0f;

  TextureView(const Bitmap& texture, uint32_t flags)
      : src(texture.pixels), pitch(texture.pitch), width(texture.width), height(texture.height) {
    if ((texture.field_mode & BMP_FIELD_ONLY) == 0) return;
    const bool odd = (flags & BMP_FIELD_ODD) != 0;
    if (odd) src += pitch;
    pitch *= 2;
    height /= 2;
    v_scale = 0.5f;
    v_bias = odd ? -16384.0f : 16384.0f;
  }
};

// The largest coordinate allowed, in 16.16 texels. Coordinates reach the first 32767 texels and lines.
inline float coordinate_limit(int32_t size, int32_t margin) {
  constexpr int32_t kReach = 32767;
  return static_cast<float>(std::max((std::min(size, kReach) - 1) * 65536 - margin, 0));
}

}  // namespace dorbmp::mapping
