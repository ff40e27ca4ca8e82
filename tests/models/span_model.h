// Span kernels written from their formulas, one pixel and one channel at a time.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "support/frames.h"

namespace dorbmp::test {

enum class Texel { yuy2, rgb32, key16, matte_yuy2, matte_rgb32 };
// How (u, v) comes about; adding is affine with the steps added pixel by pixel.
enum class Walk { affine, adding, perspective, depth };
// What the quotient of a box with a factor 3 is.
enum class Quotient { exact, by_1365 };

struct SpanModel {
  Texel texel;
  Walk walk;
  int slot;
  Quotient quotient = Quotient::exact;
};

// The arguments of a kernel call, over frames. Affine walks take duq, dvq, uq_start, vq_start as du, dv,
// u_start, v_start.
struct SpanArguments {
  Frame& dst;
  int32_t y;
  int32_t first;
  int32_t last;
  Frame& texture;
  float duq, dvq, uq_start, vq_start;
  float dq, q_start, u_bias, v_bias;
  float u_max, v_max;
  float* depths;  // Walk::depth
  uint32_t color;
};

// Draws as the kernel of that model must. Taps outside the texture repeat its last texel and line.
void draw_span(const SpanModel& model, const SpanArguments& arguments);

}  // namespace dorbmp::test
