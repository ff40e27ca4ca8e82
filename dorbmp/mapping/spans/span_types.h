// The calling interfaces of the span kernels.
//
// Coordinates are 16.16 texel units (65536 is one texel) carried as floats. A kernel fills pixels x_first to
// x_last, both included, of the line at dst_row; a span with x_first > x_last writes nothing. src is the
// texture's first line, src_pitch its line step in bytes.
#pragma once

#include <array>
#include <cstdint>

#include "dorbmp.h"

namespace dorbmp::spans {

// u = x * du + u_start, clamped to [0, u_max]; v likewise.
using AffineSpan = void BMP_CALL(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                                 int32_t src_pitch, float du, float dv, float u_start, float v_start,
                                 float u_max, float v_max);

// w = 1 / (x * dq + q_start), u = (x * duq + uq_start) * w + u_bias, clamped to [0, u_max]; v likewise.
using PerspectiveSpan = void BMP_CALL(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                                      int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start,
                                      float dq, float q_start, float u_bias, float v_bias, float u_max,
                                      float v_max);

// As PerspectiveSpan; aux is a row of depths, one float a pixel, or a packed colour (BMP_VALUE).
using AuxSpan = void BMP_CALL(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                              int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start,
                              float dq, float q_start, float u_bias, float v_bias, float u_max, float v_max,
                              void* aux);

// Scales count groups of Y0 U Y1 V toward a colour, each byte by weight and its component's term.
using FadeLine = void BMP_CALL(uint8_t* line, int32_t weight, int32_t y_term, int32_t u_term, int32_t v_term,
                               int32_t count);

// One kernel a filter footprint: slot 0 point sampling, slot 1 + 5 * vertical class + horizontal class.
inline constexpr int kSlots = 21;
template <class Span>
using SpanTable = std::array<Span*, kSlots>;

// A texture smaller than a filter's box, for the kernels that repeat its last texel and line.
struct SmallTexture {
  const uint8_t* src;
  int32_t pitch;
  int32_t last_column;
  int32_t last_line;
  int32_t half_width;  // of the box, in half texels
  int32_t half_height;
};

namespace plain {
// b = (b * weight + term) >> 12, the low 8 bits stored.
FadeLine fade_yuy2;
}  // namespace plain

namespace mmxext {
// b = (b * weight + term) >> 7, saturated to 255.
FadeLine fade_yuy2;
}  // namespace mmxext

}  // namespace dorbmp::spans
