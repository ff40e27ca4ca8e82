// Discs: what their lines and spans are. Everything is evaluated in double precision in the order written; a
// bound that is not a number leaves its span empty.
#pragma once

#include <cmath>
#include <cstdint>

#include "dorbmp/alpha/falloff.h"
#include "dorbmp/alpha/key_row.h"

namespace dorbmp::alpha {

// Nearly one: turns the truncation of a bound into a rounding up that lets exact pixel edges be.
inline constexpr double kUp = 0.99999;

// Truncates to 0..limit. Bounds below 0 leave their span empty, as 0 does.
inline int32_t truncate_to(double value, int32_t limit) {
  if (value >= limit) return limit;
  return value > 0 ? static_cast<int32_t>(value) : 0;
}

struct Disc {
  double cx;
  double cy;
  double radius;
  double aspect;
  int32_t width;
  int32_t centre_line;

  Disc(const Bitmap& plane, float centre_x, float centre_y, float outer_radius, float line_height)
      : cx(centre_x),
        cy(centre_y),
        radius(outer_radius),
        aspect(line_height),
        width(plane.width),
        centre_line(truncate_to(cy / aspect, plane.height)) {}

  int32_t column(double x) const { return truncate_to(x, width); }
};

// Vertical distances of a line's edges from the centre. The centre line counts as one below the centre: its
// near edge is its top, at a negative distance.
struct LineEdges {
  double near_edge;
  double far_edge;

  LineEdges(const Disc& disc, int32_t line) {
    if (line >= disc.centre_line) {
      near_edge = line * disc.aspect - disc.cy;
      far_edge = near_edge + disc.aspect;
    } else {
      near_edge = (disc.cy - disc.aspect) - line * disc.aspect;
      far_edge = disc.cy - line * disc.aspect;
    }
  }
};

// The columns that a circle touches on a line, [first, end), and those that it covers, [full, full_end).
struct Chord {
  int32_t first = 0;
  int32_t full = 0;
  int32_t full_end = 0;
  int32_t end = 0;

  Chord(const Disc& disc, double radius, const LineEdges& edges) {
    if (edges.near_edge >= radius) return;
    const double outer = half(radius, edges.near_edge);
    first = disc.column(disc.cx - outer);
    end = disc.column(disc.cx + outer + kUp);
    if (!(edges.far_edge < radius)) return;
    const double inner = half(radius, edges.far_edge);
    full = disc.column(disc.cx - inner + kUp);
    full_end = disc.column(disc.cx + inner);
  }

  static double half(double radius, double height) { return std::sqrt(radius * radius - height * height); }
};

// Writes a line from left to right: each span begins where the one before ended.
class SpanWriter {
 public:
  explicit SpanWriter(uint16_t* row) : row_(row) {}

  void clear(int32_t end) { spans(end, clear_run); }
  void fill(int32_t end) { spans(end, fill_run); }

  template <class Pixel>
  void pixels(int32_t end, const Pixel& pixel) {
    spans(end, [&pixel](uint16_t* row, int32_t first, int32_t last) {
      for (int32_t x = first; x < last; ++x) row[x] = pixel(x);
    });
  }

  template <class Span>
  void spans(int32_t end, const Span& span) {
    if (end <= x_) return;
    span(row_, x_, end);
    x_ = end;
  }

 private:
  uint16_t* row_;
  int32_t x_ = 0;
};

// The soft band of a disc: from 4096 at its inner radius to 0 at its outer one.
struct Band {
  double radius;
  double inner;
  double scale;  // depth steps a pixel
  const Falloff& falloff;

  Band(const Disc& disc, float softness, uint32_t flags)
      : radius(disc.radius),
        inner(radius - softness > 0 ? radius - softness : 0),
        scale(kDistanceSteps / static_cast<double>(softness)),
        falloff(alpha::falloff(flags)) {}

  // Index into the falloff. Bands thinner than a pixel, and the centre line, ask for distances outside the
  // band: they get its nearer end.
  int32_t index(double distance) const {
    double depth = (radius - distance) * scale + 0.5;
    depth = depth > 0 ? depth : 0;
    depth = depth < kDistanceSteps ? depth : kDistanceSteps;
    return kDistanceSteps - static_cast<int32_t>(depth);
  }
};

// Lines of a disc with a soft rim.
void draw_soft_line(uint16_t* row, const Disc& disc, const Band& band, int32_t line);

}  // namespace dorbmp::alpha
