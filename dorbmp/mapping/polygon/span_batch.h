// Spans of lines that cross the same two edges. They are worked out four lines at a time and then painted:
// short ones, one by one, would wait for their own coordinates.
#pragma once

#include <cstring>

#include "dorbmp/mapping/polygon/coverage.h"
#include "dorbmp/mapping/polygon/scan.h"

namespace dorbmp::mapping {

class SpanBatch {
 public:
  SpanBatch(const Bitmap& dst, const CoveragePlane& cover, const SpanPainter& painter)
      : dst_(dst), cover_(cover), painter_(painter) {}

  bool is_full() const { return count_ == kMost; }

  // A line, and where it meets the two edges.
  void add(int32_t y, float x_one, float x_other) {
    y_[count_] = y;
    x_one_[count_] = x_one;
    x_other_[count_] = x_other;
    ++count_;
  }

  // The lines added since the last time.
  void paint(const Edge& one, const Edge& other) {
    for (int32_t i = 0; i < count_; i += 4) work_out(i, one.ramps, other.ramps);
    for (int32_t i = 0; i < count_; ++i) paint_line(y_[i], spans_[i / 4], i % 4);
    count_ = 0;
  }

 private:
  static constexpr int32_t kMost = 16;

  struct FourSpans {
    Int4 first;
    Int4 end;
    Ramps ramps[3];  // of a coordinate each, line by line
  };

  static Float4 load(const float* four) {
    Float4 loaded;
    std::memcpy(&loaded, four, sizeof(loaded));
    return loaded;
  }
  static Float4 centres(const int32_t* four) {
    Int4 loaded;
    std::memcpy(&loaded, four, sizeof(loaded));
    return DORBMP_CONVERT(loaded) + 0.5f;
  }

  DORBMP_INLINE void work_out(int32_t i, const Ramps& one, const Ramps& other) {
    FourSpans& spans = spans_[i / 4];
    const Float4 x_one = load(x_one_ + i), x_other = load(x_other_ + i), centre = centres(y_ + i);
    const Int4 turned = x_one > x_other;
    const Float4 left = turned ? x_other : x_one, right = turned ? x_one : x_other;
    spans.first = first_pixels(left, dst_.width);
    spans.end = first_pixels(right, dst_.width);
    const int coordinates = painter_.coordinates();
    for (int c = 0; c < coordinates; ++c) {
      const Float4 at_one = one.step[c] * centre + one.at_0[c];
      const Float4 at_other = other.step[c] * centre + other.at_0[c];
      const Float4 at_left = turned ? at_other : at_one, at_right = turned ? at_one : at_other;
      spans.ramps[c] = between(at_left, at_right, left, right - left);
    }
  }

  DORBMP_INLINE void paint_line(int32_t y, const FourSpans& spans, int32_t n) const {
    const int32_t first = spans.first[n], end = spans.end[n];
    if (first >= end) return;
    const auto& [u, v, q] = spans.ramps;
    const Ramps line = {{u.step[n], v.step[n], q.step[n]}, {u.at_0[n], v.at_0[n], q.at_0[n]}};
    cover_.fill(y, first, end);
    painter_.paint(pixel_address(dst_, 0, y), first, end, line, painter_.aux_of_line(y));
  }

  const Bitmap& dst_;
  const CoveragePlane& cover_;
  const SpanPainter& painter_;
  int32_t count_ = 0;
  int32_t y_[kMost] = {};
  float x_one_[kMost] = {}, x_other_[kMost] = {};
  FourSpans spans_[kMost / 4];
};

}  // namespace dorbmp::mapping
