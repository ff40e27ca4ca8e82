// The loop of the MMX span kernels, the calling interfaces around it, and the makers of their lists. A put
// places one pixel: Put::put(row, x, texture, position).
#pragma once

#include <array>

#include "dorbmp/mapping/spans/footprint.h"
#include "dorbmp/mapping/spans/tables.h"
#include "dorbmp/mapping/spans/walk_mmxext.h"

namespace dorbmp::spans::mmxext {
namespace {  // files with different instruction sets must not share these

template <class Put, class Walk>
DORBMP_INLINE void run_span_mmxext(uint8_t* row, int32_t first, int32_t last, const uint8_t* src,
                                   int32_t pitch, Walk walk, const Put& put) {
  const MmxScope scope;
  const Texture texture(src, pitch);
  for (int32_t x = first; x <= last; ++x, walk.advance()) {
    if (walk.admits(x)) put.put(row, x, texture, walk.at(x));
  }
}

template <class Walk, class Put>
void BMP_CALL affine(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src, int32_t src_pitch,
                     float du, float dv, float u_start, float v_start, float u_max, float v_max) {
  run_span_mmxext(dst_row, x_first, x_last, src, src_pitch,
                  Walk(x_first, du, dv, u_start, v_start, u_max, v_max), Put());
}

template <class Put>
void BMP_CALL perspective(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                          int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                          float q_start, float u_bias, float v_bias, float u_max, float v_max) {
  run_span_mmxext(dst_row, x_first, x_last, src, src_pitch,
                  PerspectiveWalkMmx(duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max),
                  Put());
}

template <class Put>
void BMP_CALL depth_tested(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                           int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start, float dq,
                           float q_start, float u_bias, float v_bias, float u_max, float v_max,
                           void* depths) {
  const PerspectiveWalkMmx walk(duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max);
  run_span_mmxext(dst_row, x_first, x_last, src, src_pitch, DepthWalkMmx(walk, x_first, depths), Put());
}

template <class Put>
void BMP_CALL color_through_matte(uint8_t* dst_row, int32_t x_first, int32_t x_last, const uint8_t* src,
                                  int32_t src_pitch, float duq, float dvq, float uq_start, float vq_start,
                                  float dq, float q_start, float u_bias, float v_bias, float u_max,
                                  float v_max, void* color) {
  run_span_mmxext(dst_row, x_first, x_last, src, src_pitch,
                  PerspectiveWalkMmx(duq, dvq, uq_start, vq_start, dq, q_start, u_bias, v_bias, u_max, v_max),
                  Put(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(color))));
}

// Slots of a kind, which names its affine Walk, the Put of a slot, and its exactness.
template <class Kind, int... kSlot>
constexpr auto affine_slots(Slots<kSlot...>) {
  return std::array{SpanOverride<AffineSpan>{kSlot,
                                             affine<typename Kind::Walk, typename Kind::template Put<kSlot>>,
                                             Kind::template kExactness<kSlot>}...};
}

template <class Kind, int... kSlot>
constexpr auto perspective_slots(Slots<kSlot...>) {
  return std::array{SpanOverride<PerspectiveSpan>{kSlot, perspective<typename Kind::template Put<kSlot>>,
                                                  Kind::template kExactness<kSlot>}...};
}

// The box of a slot from 1 on.
template <template <int, int> class Box, int kSlot>
using BoxOfSlot = Box<kHalfWidths[(kSlot - 1) % 5], kHalfHeights[(kSlot - 1) / 5]>;

}  // namespace
}  // namespace dorbmp::spans::mmxext
