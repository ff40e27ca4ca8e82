// What all spans of one polygon share: the kernel, the texture, the limits and biases, the auxiliary row.
#pragma once

#include "dorbmp/mapping/polygon/edges.h"
#include "dorbmp/mapping/polygon/filter_class.h"
#include "dorbmp/mapping/polygon/texture_view.h"
#include "dorbmp/mapping/spans/tables.h"

namespace dorbmp::mapping {

// A texture, how it is to be mapped, and the value or plane that goes with it.
struct Mapping {
  const Bitmap& texture;
  const Bitmap* matte;
  void* aux;
  uint32_t flags;
  bool perspective;
};

// Coordinates along one destination line, by pixel.
struct LineRamps {
  Ramp u;
  Ramp v;
  Ramp q;

  // The same line counted from another pixel.
  LineRamps from(int32_t pixel) const {
    const auto moved = [x = static_cast<float>(pixel)](Ramp ramp) { return Ramp{ramp.step, ramp.at(x)}; };
    return {moved(u), moved(v), moved(q)};
  }
};

// An edge where a line meets it.
struct Crossing {
  float x;
  const Edge* edge;
};

// Coordinates between two crossings, the line's centre given in lines of the edge list.
LineRamps between(const Crossing& left, const Crossing& right, float centre, bool perspective);

class SpanPainter {
 public:
  SpanPainter(const Bitmap& dst, const Mapping& mapping, const TextureView& view, const Filter& filter);
  SpanPainter(const SpanPainter&) = delete;
  SpanPainter& operator=(const SpanPainter&) = delete;

  // Whether there is a kernel for the formats and modes, and what it reads is there.
  bool serves() const { return affine_ != nullptr || perspective_ != nullptr || with_aux_ != nullptr; }

  bool is_perspective() const { return affine_ == nullptr; }

  // The auxiliary argument of a line's kernel calls.
  void* aux_of_line(int32_t y) const;
  // The same for a kernel that counts its pixels from another one.
  void* aux_from(void* aux, int32_t pixel) const;

  // Pixels first to end - 1 of the row.
  void paint(uint8_t* row, int32_t first, int32_t end, const LineRamps& line, void* aux) const;

 private:
  bool choose_kernel(const Bitmap& dst, const Mapping& mapping, int32_t slot, bool small);

  spans::AffineSpan* affine_ = nullptr;
  spans::PerspectiveSpan* perspective_ = nullptr;
  spans::AuxSpan* with_aux_ = nullptr;
  spans::SmallTexture small_;
  const uint8_t* src_;
  int32_t pitch_;
  float u_bias_, v_bias_;
  float u_max_, v_max_;
  const Bitmap* matte_;
  void* aux_;
  bool depth_tested_ = false;
};

}  // namespace dorbmp::mapping
