// What all spans of one polygon share: the kernel, the texture, the limits and biases, the auxiliary row.
#pragma once

#include <algorithm>

#include "dorbmp/compiler.h"
#include "dorbmp/mapping/polygon/edges.h"
#include "dorbmp/mapping/polygon/filter_class.h"
#include "dorbmp/mapping/polygon/texture_view.h"
#include "dorbmp/mapping/spans/tables.h"

namespace dorbmp::mapping {

// A texture, how it is to be mapped, and what goes with it: a plane of depths for a depth test, else a value
// or one row of depths.
struct Mapping {
  const Bitmap& texture;
  const Bitmap* depths;
  void* aux;
  uint32_t flags;
  bool perspective;
};

// An edge where a line meets it.
struct Crossing {
  float x;
  const Edge* edge;
};

// What a coordinate is at two crossings so far apart, or all coordinates of a line, or one of four lines.
DORBMP_INLINE Ramps between(Float4 at_left, Float4 at_right, Float4 left, Float4 width) {
  const Float4 slope = (at_right - at_left) / width;
  const Float4 step = width > 0.0f ? slope : Float4{};
  return {step, at_left - step * (left - 0.5f)};
}

// Coordinates between two crossings by pixel, the line's centre given in lines of the edge list.
inline Ramps between(const Crossing& left, const Crossing& right, float centre) {
  const Ramps& from = left.edge->ramps;
  const Ramps& to = right.edge->ramps;
  return between(from.step * centre + from.at_0, to.step * centre + to.at_0, Float4{} + left.x,
                 Float4{} + (right.x - left.x));
}

// A line's coordinates, counted from another pixel.
inline Ramps counted_from(int32_t pixel, const Ramps& line) {
  return {line.step, line.at_0 + line.step * static_cast<float>(pixel)};
}

class SpanPainter {
 public:
  SpanPainter(const Bitmap& dst, const Mapping& mapping, const TextureView& view, const Filter& filter);
  SpanPainter(const SpanPainter&) = delete;
  SpanPainter& operator=(const SpanPainter&) = delete;

  // Whether there is a kernel for the formats and modes, and what it reads is there.
  bool serves() const { return affine_ != nullptr || perspective_ != nullptr || with_aux_ != nullptr; }

  // How many coordinates the kernel takes.
  int coordinates() const { return affine_ != nullptr ? 2 : 3; }

  // The auxiliary argument of a line's kernel calls: its depths, or what the caller passed for every line.
  void* aux_of_line(int32_t y) const { return depths_ != nullptr ? pixel_address(*depths_, 0, y) : aux_; }
  // The same for a kernel that counts its pixels from another one.
  void* aux_from(void* aux, int32_t pixel) const {
    return depth_tested_ ? static_cast<uint8_t*>(aux) + kDepthBytes * pixel : aux;
  }

  // Pixels first to end - 1 of the row.
  DORBMP_INLINE void paint(uint8_t* row, int32_t first, int32_t end, const Ramps& line, void* aux) const {
    const int32_t last = end - 1;
    if (affine_ != nullptr) {
      affine_(row, first, last, src_, pitch_, line.step[Ramps::kU], line.step[Ramps::kV],
              line.at_0[Ramps::kU] + u_bias_, line.at_0[Ramps::kV] + v_bias_, u_max_, v_max_);
    } else if (perspective_ != nullptr) {
      perspective_(row, first, last, src_, pitch_, line.step[Ramps::kU], line.step[Ramps::kV],
                   line.at_0[Ramps::kU], line.at_0[Ramps::kV], line.step[Ramps::kQ], line.at_0[Ramps::kQ],
                   u_bias_, v_bias_, u_max_, v_max_);
    } else {
      with_aux_(row, first, last, src_, pitch_, line.step[Ramps::kU], line.step[Ramps::kV],
                line.at_0[Ramps::kU], line.at_0[Ramps::kV], line.step[Ramps::kQ], line.at_0[Ramps::kQ],
                u_bias_, v_bias_, u_max_, v_max_, aux);
    }
  }

 private:
  static constexpr int64_t kDepthBytes = sizeof(float);

  void choose_kernel(const Bitmap& dst, const Mapping& mapping, int32_t slot, bool small);

  spans::AffineSpan* affine_ = nullptr;
  spans::PerspectiveSpan* perspective_ = nullptr;
  spans::AuxSpan* with_aux_ = nullptr;
  spans::SmallTexture small_;
  const uint8_t* src_;
  int32_t pitch_;
  float u_bias_, v_bias_;
  float u_max_, v_max_;
  void* aux_;
  const Bitmap* depths_ = nullptr;  // for a depth test alone
  bool depth_tested_ = false;
};

}  // namespace dorbmp::mapping
