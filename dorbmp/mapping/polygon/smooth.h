// Anti-aliased convex polygons: three sub-lines to a line, whole pixels apart from those an edge passes.
#pragma once

#include <cstring>

#include "dorbmp/mapping/polygon/edge_writers.h"
#include "dorbmp/mapping/polygon/edges.h"
#include "dorbmp/mapping/polygon/span_painter.h"

namespace dorbmp::mapping {

// edges must have been set up with three lines to a line.
void smooth_polygon(const Bitmap& dst, const CoveragePlane& cover, const SpanPainter& painter,
                    const EdgeList& edges, uint32_t flags);

// What one line of a polygon covers.
class LineCoverage {
 public:
  static constexpr int kSubLines = 3;

  // Sub-line 0 to 2 lies between two columns, the smaller first.
  void set(int sub_line, float left, float right, int32_t width);

  // Pixels outside [first, end) are not touched, those of [inner_first, inner_end) wholly covered.
  void find_pixels();
  int32_t first, inner_first, inner_end, end;

  // 0 to kFullCoverage.
  uint16_t of_pixel(int32_t x) const;

 private:
  struct Interval {
    int32_t left = 0;
    int32_t right = 0;
  };
  Interval sub_lines_[kSubLines];  // 1/4096 of a pixel
};

// Walks the sub-lines of a polygon and hands each line that covers something to its painter.
class SmoothScan {
 public:
  SmoothScan(const EdgeList& edges, int32_t width, uint32_t flags)
      : next_(edges.first()), width_(width), flags_(flags) {}

  // Steps to the next line to be drawn; false when there is none.
  bool next_line();

  int32_t y() const { return y_; }
  const LineCoverage& coverage() const { return coverage_; }

  // Where the line's centre meets the edges; for a line whose centre is not covered, the sub-line that is.
  struct Crossings {
    Crossing left;
    Crossing right;
    float centre;
    bool is_line_centre;
  };
  const Crossings& crossings() const { return crossings_; }

 private:
  void enter(int32_t sub_line);
  bool collect(int32_t y);

  const Edge* next_;
  const Edge* active_[2] = {};
  const int32_t width_;
  const uint32_t flags_;
  int32_t y_ = -1;
  LineCoverage coverage_;
  Crossings crossings_;
};

// Draws the pixels of a line that edges cover in part. samples(to, base, first, end) puts pixels first to
// end - 1 at to, which stands for pixel base; to holds the old pixels before.
template <class Samples>
void draw_partial_pixels(uint8_t* row, uint8_t* cover, EdgeWriter* writer, int32_t bytes_per_pixel,
                         const LineCoverage& coverage, int32_t first, int32_t end, uint32_t opacity,
                         const Samples& samples) {
  constexpr int32_t kChunk = 64;
  alignas(16) uint8_t pixels[kChunk * 4];
  uint16_t shares[kChunk];
  while (first < end) {
    const int32_t base = first & ~1;
    const int32_t stop = std::min(base + kChunk, end);
    const int32_t copied = (stop - base + 1) & ~1;
    std::memcpy(pixels, row + static_cast<ptrdiff_t>(base) * bytes_per_pixel,
                static_cast<size_t>((bytes_per_pixel == 2 ? copied : stop - base) * bytes_per_pixel));
    samples(pixels, base, first, stop);
    for (int32_t x = first; x < stop; ++x) {
      const uint32_t share = coverage.of_pixel(x) * opacity;
      shares[x - base] = static_cast<uint16_t>((share + kFullKey / 2) / kFullKey);
    }
    writer(row, cover, pixels, shares, base, first, stop);
    first = stop;
  }
}

}  // namespace dorbmp::mapping
