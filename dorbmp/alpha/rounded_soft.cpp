// Rounded rectangles with soft sides. Coverage is a function of the squared distance from the inner bounds in
// radii, summed over both axes, so that a side is a corner with one distance at 0.
#include <algorithm>
#include <cmath>

#include "dorbmp/alpha/falloff.h"
#include "dorbmp/alpha/key_row.h"
#include "dorbmp/alpha/rounded_rect.h"
#include "dorbmp/compiler.h"

namespace dorbmp::alpha {
namespace {

constexpr int32_t kBlock = 128;
constexpr int32_t kMaxSamples = 4;
constexpr int32_t kFractionBits = 8;  // of positions in a table, and of the coverage found there
constexpr int32_t kEnd = kSquareSteps << kFractionBits;

// Linear between entries. The last entry is 0 and has none behind it: positions end below it.
int32_t between_entries(const uint16_t* table, int32_t position) {
  const uint16_t* entry = table + (position >> kFractionBits);
  const int32_t fraction = position & ((1 << kFractionBits) - 1);
  return (entry[0] << kFractionBits) - (entry[0] - entry[1]) * fraction;
}

// Coverage at a position in the squared table. Near the corner's centre one of its steps is a long way, and
// the root is taken after all.
int32_t coverage_at(const Falloff& falloff, int32_t position) {
  constexpr int32_t kNear = kEnd / 64;
  if (position < kNear) [[unlikely]] {
    const float distance = std::sqrt(static_cast<float>(position) / kEnd);
    return between_entries(falloff.by_distance.data(),
                           static_cast<int32_t>(distance * (kDistanceSteps << kFractionBits)));
  }
  return between_entries(falloff.by_square.data(), position);
}

int32_t to_position(float square) {
  constexpr auto kLast = static_cast<float>(kEnd - 1);
  const float position = square * kEnd;
  return static_cast<int32_t>(position < kLast ? position : kLast);
}

// Squared distances beyond the inner bounds, in radii, of a point in each pixel from first on.
void squares_beyond(const RoundedAxis& axis, int64_t first, int32_t count, int32_t point, float* squares) {
  constexpr int64_t kFar = 1 << 29;
  const int64_t origin = first * kUnits + point;
  const auto before = static_cast<int32_t>(std::clamp(axis.inner_low - origin, -kFar, kFar));
  const auto behind = static_cast<int32_t>(std::clamp(origin - axis.inner_high, -kFar, kFar));
  const auto per_radius = static_cast<float>(axis.per_radius);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t outside = std::max(std::max(before - i * kUnits, behind + i * kUnits), 0);
    const float distance = static_cast<float>(outside) * per_radius;
    squares[i] = distance * distance;
  }
}

// The mean over a pixel is taken from 2^n x 2^n points: enough for the steepest profile of the smaller radius
// to come out within 1/256.
int32_t sample_bits(const RoundedRect& shape) {
  const int64_t radius = std::min(shape.x.radius, shape.y.radius) / kUnits;
  return radius < 32 ? 2 : radius < 256 ? 1 : 0;
}

class SoftShape {
 public:
  // A line's squared distances, one a sample; all 0 between the inner bounds.
  struct Line {
    float squares[kMaxSamples] = {};
  };

  SoftShape(const RoundedRect& shape, const Falloff& falloff)
      : shape_(shape), falloff_(falloff), bits_(sample_bits(shape)), samples_(1 << bits_) {}

  Line line(int64_t y) const {
    Line line;
    for (int32_t j = 0; j < samples_; ++j) squares_beyond(shape_.y, y, 1, point(j), &line.squares[j]);
    return line;
  }

  // Coverage of at most kBlock pixels of a line.
  DORBMP_NOINLINE void pixels(const Line& line, PixelRange columns, uint16_t* values) const {
    const auto count = static_cast<int32_t>(columns.end - columns.first);
    int32_t sums[kBlock] = {};
    for (int32_t i = 0; i < samples_; ++i) {
      float squares[kBlock];
      squares_beyond(shape_.x, columns.first, count, point(i), squares);
      for (int32_t j = 0; j < samples_; ++j) add_samples(squares, line.squares[j], count, sums);
    }
    for (int32_t x = 0; x < count; ++x) values[x] = mean(sums[x]);
  }

  // Coverage of every column between the inner bounds.
  int32_t between(const Line& line) const {
    const float inside = 0;
    int32_t sum = 0;
    for (int32_t j = 0; j < samples_; ++j) add_samples(&inside, line.squares[j], 1, &sum);
    return mean(sum * samples_);
  }

 private:
  int32_t point(int32_t sample) const { return (2 * sample + 1) * kUnits >> (bits_ + 1); }

  // Positions first, in vectors; then the tables, one by one.
  void add_samples(const float* across, float down, int32_t count, int32_t* sums) const {
    int32_t positions[kBlock];
    for (int32_t x = 0; x < count; ++x) positions[x] = to_position(across[x] + down);
    for (int32_t x = 0; x < count; ++x) sums[x] += coverage_at(falloff_, positions[x]);
  }

  uint16_t mean(int32_t sum) const {
    const int32_t shift = kFractionBits + 2 * bits_;
    return static_cast<uint16_t>((sum + (1 << (shift - 1))) >> shift);
  }

  const RoundedRect& shape_;
  const Falloff& falloff_;
  int32_t bits_;
  int32_t samples_;
};

// The columns beyond the inner bounds; between left and right, a line has one coverage.
struct SoftColumns {
  PixelRange left;
  PixelRange right;

  SoftColumns(const RoundedAxis& axis, int32_t width) {
    const PixelRange all = touched(axis.low, axis.high, width);
    const PixelRange inside = covered(axis.inner_low, axis.inner_high, width);
    left = {all.first, inside.first};
    right = {inside.end, all.end};
  }
};

// Calls draw with block after block of the columns.
template <class Draw>
void for_each_block(PixelRange columns, Draw draw) {
  for (int64_t x = columns.first; x < columns.end; x += kBlock) {
    draw(PixelRange{x, std::min(columns.end, x + kBlock)});
  }
}

template <class Combination>
void draw_corner_lines(const Bitmap& plane, const SoftShape& shape, const SoftColumns& columns,
                       PixelRange rows, const ShapeLines& lines) {
  for (int64_t y = lines.first_from(rows.first); y < rows.end; y += lines.step) {
    uint16_t* row = key_row(plane, y);
    const SoftShape::Line line = shape.line(y);
    const auto draw_side = [&](PixelRange block) {
      uint16_t values[kBlock];
      shape.pixels(line, block, values);
      combine_row<Combination>(row, block.first, values, block.end - block.first);
    };
    for_each_block(columns.left, draw_side);
    combine_run<Combination>(row, columns.left.end, columns.right.first, shape.between(line));
    for_each_block(columns.right, draw_side);
  }
}

// Lines between the corners are all alike: a block of a side is evaluated once.
template <class Combination>
void draw_straight_lines(const Bitmap& plane, const SoftShape& shape, const SoftColumns& columns,
                         PixelRange rows, const ShapeLines& lines) {
  const int64_t first = lines.first_from(rows.first);
  const auto draw_side = [&](PixelRange block) {
    uint16_t values[kBlock];
    shape.pixels({}, block, values);
    for (int64_t y = first; y < rows.end; y += lines.step) {
      combine_row<Combination>(key_row(plane, y), block.first, values, block.end - block.first);
    }
  };
  for_each_block(columns.left, draw_side);
  for_each_block(columns.right, draw_side);
  for (int64_t y = first; y < rows.end; y += lines.step) {
    fill_run(key_row(plane, y), columns.left.end, columns.right.first);
  }
}

}  // namespace

void draw_rounded_soft(Bitmap& plane, const RoundedRect& shape, uint32_t flags) {
  const PixelRange rows = touched(shape.y.low, shape.y.high, plane.height);
  const PixelRange straight = covered(shape.y.inner_low, shape.y.inner_high, plane.height);
  const SoftColumns columns(shape.x, plane.width);
  const SoftShape soft(shape, falloff(flags));
  const ShapeLines lines(flags);
  with_combination(flags, [&](auto combination) {
    using Combination = decltype(combination);
    draw_corner_lines<Combination>(plane, soft, columns, {rows.first, straight.first}, lines);
    draw_straight_lines<Combination>(plane, soft, columns, straight, lines);
    draw_corner_lines<Combination>(plane, soft, columns, {straight.end, rows.end}, lines);
  });
}

}  // namespace dorbmp::alpha
