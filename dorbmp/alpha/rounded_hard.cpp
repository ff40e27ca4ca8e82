// Rounded rectangles with a hard rim. A line crossed by corners is cut into 64 sub-lines, one a unit, whose
// ends lie on the ellipse; a pixel's coverage is the sum of their overlaps. A sub-line counts whole or not at
// all, so coverage is off by at most half of one, 32 of 4096, where the rim is nearly level.
#include <algorithm>
#include <cmath>

#include "dorbmp/alpha/key_row.h"
#include "dorbmp/alpha/rounded_rect.h"
#include "dorbmp/compiler.h"

namespace dorbmp::alpha {
namespace {

// Ends of sub-lines are kept in 1/512 pixel. Beside a block of pixels, ends and sums fit in 16 bits.
constexpr int32_t kSteps = 512;
constexpr int32_t kStepsPerUnit = kSteps / kUnits;
constexpr int32_t kBlock = 32;
constexpr int32_t kFar = (1 << 30) - 1;  // steps; corners do not reach farther, some two million pixels

class SubLines {
 public:
  DORBMP_NOINLINE SubLines(const RoundedRect& shape, int64_t line) {
    const int64_t top = line * kUnits;
    const int64_t first = std::max(shape.y.low, top);
    count_ = static_cast<int32_t>(std::min(shape.y.high, top + kUnits) - first);
    const auto radius = static_cast<double>(std::min<int64_t>(shape.x.radius * kStepsPerUnit, kFar));
    for (int32_t k = 0; k < count_; ++k) {
      const double height = shape.y.beyond(static_cast<double>(first) + (k + 0.5));
      reach_[k] = static_cast<int32_t>(radius * std::sqrt(1 - height * height) + 0.5);
    }
    const auto [shortest, longest] = std::minmax_element(reach_, reach_ + count_);
    left_ = {shape.x.inner_low * kStepsPerUnit, -1, *shortest, *longest};
    right_ = {shape.x.inner_high * kStepsPerUnit, 1, *shortest, *longest};
  }

  int32_t count() const { return count_; }

  // The pixels that the ends of each side lie in. Where the sides meet in a pixel, left is both.
  struct Rims {
    PixelRange left;
    PixelRange right;
  };

  Rims rims(int32_t width) const {
    const PixelRange left = clip(left_.rim(), width);
    const PixelRange right = clip(right_.rim(), width);
    if (left.end > right.first) return {{left.first, right.end}, {right.end, right.end}};
    return {left, right};
  }

  // Coverage of the pixels [first, end), at most kBlock of them.
  DORBMP_NOINLINE void coverage(int64_t first, int64_t end, uint16_t* values) const {
    uint16_t from_left[kBlock];
    uint16_t from_right[kBlock];
    covered_steps(left_, first, end, from_left);
    covered_steps(right_, first, end, from_right);
    for (int32_t i = 0; i < end - first; ++i) {
      values[i] = static_cast<uint16_t>((from_left[i] - from_right[i] + 4) / 8);
    }
  }

 private:
  // The ends of one side: where the corners begin, and on from there by the reach of each sub-line.
  struct Side {
    int64_t corner;
    int32_t direction;
    int32_t shortest;
    int32_t longest;

    PixelRange rim() const {
      const int64_t near_end = corner + direction * int64_t{shortest};
      const int64_t far_end = corner + direction * int64_t{longest};
      return {std::min(near_end, far_end) >> 9, (std::max(near_end, far_end) + kSteps - 1) >> 9};
    }
  };

  static void fill_steps(uint16_t* sums, int64_t count, int32_t steps) {
    std::fill_n(sums, count, static_cast<uint16_t>(steps));
  }

  // How much of each pixel lies to the right of a side's ends, summed: at most 64 * 512.
  void covered_steps(const Side& side, int64_t first, int64_t end, uint16_t* sums) const {
    const PixelRange rim = side.rim();
    if (end <= rim.first) return fill_steps(sums, end - first, 0);
    if (first >= rim.end) return fill_steps(sums, end - first, count_ * kSteps);
    int16_t ends[kUnits];
    const auto corner = static_cast<int32_t>(std::clamp<int64_t>(side.corner - first * kSteps, -kFar, kFar));
    for (int32_t k = 0; k < count_; ++k) {
      const int32_t position = corner + side.direction * reach_[k];
      ends[k] = static_cast<int16_t>(std::clamp(position, 0, kBlock * kSteps));
    }
    for (int32_t i = 0; i < end - first; ++i) {
      const auto pixel_end = static_cast<int16_t>((i + 1) * kSteps);
      uint16_t sum = 0;
      for (int32_t k = 0; k < count_; ++k) {
        const auto length = static_cast<int16_t>(pixel_end - ends[k]);
        sum = static_cast<uint16_t>(sum + std::clamp<int16_t>(length, 0, kSteps));
      }
      sums[i] = sum;
    }
  }

  int32_t reach_[kUnits];  // beyond the inner bounds, to either side
  int32_t count_;
  Side left_;
  Side right_;
};

template <class Combination>
void draw_rim(uint16_t* row, const SubLines& sub_lines, int64_t first, int64_t end) {
  uint16_t values[kBlock];
  for (int64_t x = first; x < end; x += kBlock) {
    const int64_t block_end = std::min(end, x + kBlock);
    sub_lines.coverage(x, block_end, values);
    combine_row<Combination>(row, x, values, block_end - x);
  }
}

// The run between the rims.
template <class Combination>
void draw_run(uint16_t* row, const SubLines& sub_lines, int64_t first, int64_t end) {
  if (sub_lines.count() == kUnits) {
    fill_run(row, first, end);
  } else {
    combine_run<Combination>(row, first, end, sub_lines.count() * kUnits);
  }
}

template <class Combination>
void draw_corner_lines(const Bitmap& plane, const RoundedRect& shape, PixelRange rows,
                       const ShapeLines& lines) {
  for (int64_t y = lines.first_from(rows.first); y < rows.end; y += lines.step) {
    uint16_t* row = key_row(plane, y);
    const SubLines sub_lines(shape, y);
    const auto [left, right] = sub_lines.rims(plane.width);
    draw_rim<Combination>(row, sub_lines, left.first, left.end);
    draw_run<Combination>(row, sub_lines, left.end, right.first);
    draw_rim<Combination>(row, sub_lines, right.first, right.end);
  }
}

// Lines between the corners are all alike, and a straight side lies in one pixel.
template <class Combination>
void draw_straight_lines(const Bitmap& plane, const RoundedRect& shape, PixelRange rows,
                         const ShapeLines& lines) {
  if (rows.first >= rows.end) return;
  const SubLines sub_lines(shape, rows.first);
  const auto [left, right] = sub_lines.rims(plane.width);
  uint16_t left_values[kBlock];
  uint16_t right_values[kBlock];
  sub_lines.coverage(left.first, left.end, left_values);
  sub_lines.coverage(right.first, right.end, right_values);
  for (int64_t y = lines.first_from(rows.first); y < rows.end; y += lines.step) {
    uint16_t* row = key_row(plane, y);
    combine_row<Combination>(row, left.first, left_values, left.end - left.first);
    draw_run<Combination>(row, sub_lines, left.end, right.first);
    combine_row<Combination>(row, right.first, right_values, right.end - right.first);
  }
}

}  // namespace

void draw_rounded_hard(Bitmap& plane, const RoundedRect& shape, uint32_t flags) {
  const PixelRange rows = touched(shape.y.low, shape.y.high, plane.height);
  const PixelRange straight = covered(shape.y.inner_low, shape.y.inner_high, plane.height);
  const ShapeLines lines(flags);
  with_combination(flags, [&](auto combination) {
    using Combination = decltype(combination);
    draw_corner_lines<Combination>(plane, shape, {rows.first, straight.first}, lines);
    draw_straight_lines<Combination>(plane, shape, straight, lines);
    draw_corner_lines<Combination>(plane, shape, {straight.end, rows.end}, lines);
  });
}

}  // namespace dorbmp::alpha
