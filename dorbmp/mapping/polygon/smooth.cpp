#include "dorbmp/mapping/polygon/smooth.h"

#include "dorbmp/fields.h"
#include "dorbmp/mapping/polygon/scan.h"

namespace dorbmp::mapping {
namespace {

// An edge begins half a step from its top vertex, wherever its first sub-line lies, and never leaves its own
// extent.
float outline_at(const Edge& edge, int32_t sub_line) {
  const float steps = static_cast<float>(sub_line - edge.first) + 0.5f;
  return std::clamp(edge.x_top + steps * edge.x_step, edge.x_left, edge.x_right);
}

// Texture coordinates belong to the place where the edge really is.
float centre_at(const Edge& edge, int32_t sub_line) {
  return edge.x + static_cast<float>(sub_line - edge.first) * edge.x_step;
}

}  // namespace

void LineCoverage::set(int sub_line, float left, float right, int32_t width) {
  const float limit = std::min(static_cast<float>(width) * 4096.0f, kFarthest);
  const auto position = [limit](float x) {
    return static_cast<int32_t>(std::clamp(x * 4096.0f, 0.0f, limit));
  };
  sub_lines_[sub_line] = {position(left), position(right)};
}

void LineCoverage::find_pixels() {
  first = INT32_MAX;
  end = 0;
  inner_first = 0;
  inner_end = INT32_MAX;
  for (const Interval& interval : sub_lines_) {
    if (interval.left < interval.right) {
      first = std::min(first, interval.left >> 12);
      end = std::max(end, (interval.right + 4095) >> 12);
    }
    inner_first = std::max(inner_first, (interval.left + 4095) >> 12);
    inner_end = std::min(inner_end, interval.right >> 12);
  }
  if (inner_first >= inner_end) inner_first = inner_end = end;
}

uint16_t LineCoverage::of_pixel(int32_t x) const {
  int32_t sum = 0;
  for (const Interval& interval : sub_lines_) {
    const int32_t overlap = std::min(interval.right, (x + 1) * 4096) - std::max(interval.left, x * 4096);
    sum += std::max(overlap, 0);
  }
  return static_cast<uint16_t>(sum);
}

bool SmoothScan::next_line() {
  for (;;) {
    const bool idle = active_[0] == nullptr && active_[1] == nullptr;
    if (idle && next_ == nullptr) return false;
    // Sub-lines above the picture are passed over, to the line that holds the next edge.
    y_ = idle ? std::max(y_ + 1, std::max(next_->first, 0) / LineCoverage::kSubLines) : y_ + 1;
    if (collect(y_)) return true;
  }
}

// Edges that end leave, edges that begin take their places. A third one at a time is not of a convex polygon
// and waits.
void SmoothScan::enter(int32_t sub_line) {
  for (const Edge*& active : active_) {
    if (active != nullptr && active->end <= sub_line) active = nullptr;
  }
  for (const Edge*& active : active_) {
    while (active == nullptr && next_ != nullptr && next_->first <= sub_line) {
      if (next_->end > sub_line) active = next_;
      next_ = next_->next;
    }
  }
}

bool SmoothScan::collect(int32_t y) {
  const bool drawn = is_in_field(y, flags_);
  coverage_ = {};
  bool covers = false;
  for (int i = 0; i < LineCoverage::kSubLines; ++i) {
    const int32_t sub_line = y * LineCoverage::kSubLines + i;
    enter(sub_line);
    if (!drawn || active_[0] == nullptr || active_[1] == nullptr) continue;
    const float outline[2] = {outline_at(*active_[0], sub_line), outline_at(*active_[1], sub_line)};
    coverage_.set(i, std::min(outline[0], outline[1]), std::max(outline[0], outline[1]), width_);
    if (covers && i != 1) continue;
    covers = true;
    crossings_ = {.left = {centre_at(*active_[0], sub_line), active_[0]},
                  .right = {centre_at(*active_[1], sub_line), active_[1]},
                  .centre = static_cast<float>(sub_line) + 0.5f,
                  .is_line_centre = i == 1};
    if (crossings_.right.x < crossings_.left.x) std::swap(crossings_.left, crossings_.right);
  }
  if (!covers) return false;
  coverage_.find_pixels();
  return coverage_.first < coverage_.end;
}

void smooth_polygon(const Bitmap& dst, const CoveragePlane& cover, const SpanPainter& painter,
                    const EdgeList& edges, uint32_t flags) {
  EdgeWriter* const writer = edge_writer(dst.format, cover);
  const bool plane_follows_centres = dst.format == BMP_FORMAT_KEY16;
  SmoothScan scan(edges, dst.width, flags);
  while (scan.next_line()) {
    const LineCoverage& line = scan.coverage();
    const auto& [left, right, centre, is_line_centre] = scan.crossings();
    const Ramps ramps = between(left, right, centre);
    uint8_t* const row = pixel_address(dst, 0, scan.y());
    void* const aux = painter.aux_of_line(scan.y());

    const auto samples = [&](uint8_t* to, int32_t base, int32_t first, int32_t end) {
      painter.paint(to, first - base, end - base, counted_from(base, ramps), painter.aux_from(aux, base));
    };
    const auto draw_edge = [&](int32_t first, int32_t end) {
      draw_partial_pixels(row, cover.row(scan.y()), writer, dst.bytes_per_pixel, line, first, end, kFullKey,
                          samples);
    };
    draw_edge(line.first, line.inner_first);
    if (line.inner_first < line.inner_end) {
      painter.paint(row, line.inner_first, line.inner_end, ramps, aux);
      if (!plane_follows_centres) cover.fill(scan.y(), line.inner_first, line.inner_end);
    }
    draw_edge(line.inner_end, line.end);
    if (plane_follows_centres && is_line_centre) {
      const Int4 columns = first_pixels(Float4{left.x, right.x}, dst.width);
      if (columns[0] < columns[1]) cover.fill(scan.y(), columns[0], columns[1]);
    }
  }
}

}  // namespace dorbmp::mapping
