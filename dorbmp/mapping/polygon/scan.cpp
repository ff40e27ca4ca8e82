#include "dorbmp/mapping/polygon/scan.h"

#include <algorithm>
#include <array>

#include "dorbmp/fields.h"
#include "dorbmp/mapping/polygon/coverage.h"
#include "dorbmp/mapping/polygon/smooth.h"
#include "dorbmp/mapping/polygon/span_batch.h"

namespace dorbmp::mapping {
namespace {

// An edge on the lines it crosses.
struct ActiveEdge {
  int32_t end;
  float x;
  const Edge* edge;
};

// Ascending. Equal neighbours keep their order; there are seldom more than two.
void sort_by_x(Crossing* crossings, int32_t count) {
  for (int32_t i = 1; i < count; ++i) {
    const Crossing moved = crossings[i];
    int32_t to = i;
    for (; to > 0 && crossings[to - 1].x > moved.x; --to) crossings[to] = crossings[to - 1];
    crossings[to] = moved;
  }
}

class WholeLineScan {
 public:
  WholeLineScan(SpanBatch& spans, uint32_t flags) : spans_(spans), flags_(flags) {}

  // In bands of lines that cross the same edges.
  void run(const Edge* next) {
    int32_t line = 0;
    while (next != nullptr || count_ > 0) {
      if (count_ == 0) line = std::max(next->first, line);
      for (; next != nullptr && next->first <= line; next = next->next) {
        active_[static_cast<size_t>(count_++)] = {next->end, next->x, next};
      }
      int32_t band_end = next != nullptr ? next->first : INT32_MAX;
      for (int32_t i = 0; i < count_; ++i) band_end = std::min(band_end, active_[static_cast<size_t>(i)].end);
      if (count_ == 2) {
        draw_between_two(line, band_end);
        line = std::max(line, band_end);
      } else {
        for (; line < band_end; ++line) draw_line(line);
      }
      retire(line);
    }
  }

 private:
  bool is_drawn(int32_t y) const { return is_in_field(y, flags_); }

  void draw_line(int32_t y) {
    for (int32_t i = 0; i < count_; ++i) {
      ActiveEdge& active = active_[static_cast<size_t>(i)];
      crossings_[static_cast<size_t>(i)] = {active.x, active.edge};
      active.x += active.edge->x_step;
    }
    if (!is_drawn(y)) return;
    sort_by_x(crossings_.data(), count_);
    for (int32_t i = 0; i + 1 < count_; i += 2) {
      const Crossing& left = crossings_[static_cast<size_t>(i)];
      const Crossing& right = crossings_[static_cast<size_t>(i) + 1];
      spans_.add(y, left.x, right.x);
      spans_.paint(*left.edge, *right.edge);
    }
  }

  // Lines that two edges cross, as all of a convex polygon are.
  void draw_between_two(int32_t line, int32_t end) {
    ActiveEdge& one = active_[0];
    ActiveEdge& other = active_[1];
    for (; line < end; ++line) {
      if (is_drawn(line)) spans_.add(line, one.x, other.x);
      if (spans_.is_full()) spans_.paint(*one.edge, *other.edge);
      one.x += one.edge->x_step;
      other.x += other.edge->x_step;
    }
    spans_.paint(*one.edge, *other.edge);
  }

  void retire(int32_t line) {
    int32_t kept = 0;
    for (int32_t i = 0; i < count_; ++i) {
      const ActiveEdge active = active_[static_cast<size_t>(i)];
      if (active.end > line) active_[static_cast<size_t>(kept++)] = active;
    }
    count_ = kept;
  }

  SpanBatch& spans_;
  const uint32_t flags_;
  int32_t count_ = 0;
  std::array<ActiveEdge, BMP_MAX_VERTICES> active_;
  std::array<Crossing, BMP_MAX_VERTICES> crossings_;
};

bool is_smooth(const Mapping& mapping) {
  return (mapping.flags & BMP_MAP_SMOOTH) != 0 && (mapping.flags & BMP_MAP_NEAREST) == 0 &&
         mapping.depths == nullptr && mapping.texture.format != BMP_FORMAT_KEY8;
}

}  // namespace

void scan_polygon(const Bitmap& dst, const Bitmap* cover, const Mapping& mapping,
                  const PolygonVertex* vertices, int32_t count) {
  const CoveragePlane plane(cover);
  if (!is_drawable(vertices, count) || !is_sound(dst) || !is_sound(mapping.texture) || !plane.covers(dst)) {
    return;
  }
  const TextureView view(mapping.texture, mapping.flags);
  const Filter filter = (mapping.flags & BMP_MAP_NEAREST) != 0
                            ? kNoFilter
                            : choose_filter(minification(vertices, count, view.v_scale),
                                            mapping.texture.format == BMP_FORMAT_KEY8);
  const SpanPainter painter(dst, mapping, view, filter);
  if (!painter.serves()) return;

  const bool smooth = is_smooth(mapping);
  EdgeList edges(vertices, count, {smooth ? 3 : 1, dst.height, mapping.perspective, view.v_scale});
  if (smooth) {
    smooth_polygon(dst, plane, painter, edges, mapping.flags);
  } else {
    edges.walk_to_picture();
    SpanBatch spans(dst, plane, painter);
    WholeLineScan(spans, mapping.flags).run(edges.first());
  }
}

}  // namespace dorbmp::mapping
