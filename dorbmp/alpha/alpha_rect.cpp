// Rectangles: set-up, and the plain ones. Coverage is exact on a grid of 1/64 pixel; where two sides meet in
// one pixel or line, each counts as if the other were elsewhere.
#include <algorithm>
#include <cmath>

#include "dorbmp/alpha/alpha.h"
#include "dorbmp/alpha/key_row.h"
#include "dorbmp/alpha/rounded_rect.h"

namespace dorbmp::alpha {
namespace {

// To 1/64 pixel, truncated. Beyond 2^34 pixels it does not matter where; not a number is far outside.
int64_t to_units(float pixels) {
  constexpr float kLimit = 0x1p40f;
  const float units = pixels * kUnits;
  if (units >= kLimit) return static_cast<int64_t>(kLimit);
  return units > -kLimit ? static_cast<int64_t>(units) : -static_cast<int64_t>(kLimit);
}

// The sides in 1/64 pixel, not clipped.
struct Sides {
  int64_t left;
  int64_t top;
  int64_t right;
  int64_t bottom;
};

// One axis of a plain rectangle on the pixel grid.
struct Extent {
  int64_t first;       // first pixel touched
  int64_t first_full;  // first pixel whose near side is covered
  int64_t end_full;    // behind the last pixel whose far side is covered
  int64_t end;         // behind the last pixel touched
  int32_t near_part;   // covered units of pixel first
  int32_t far_part;    // covered units of pixel end_full

  Extent(int64_t low, int64_t high, int32_t size) {
    low = std::max<int64_t>(low, 0);
    high = std::min(high, int64_t{size} * kUnits);
    first = low >> 6;
    first_full = (low + kUnits - 1) >> 6;
    end_full = high >> 6;
    end = (high + kUnits - 1) >> 6;
    near_part = kUnits - static_cast<int32_t>(low & (kUnits - 1));
    far_part = static_cast<int32_t>(high & (kUnits - 1));
  }

  bool empty() const { return end <= first; }
};

template <class Combination>
void plain_sides(uint16_t* row, const Extent& columns, int32_t lines) {
  if (columns.first < columns.first_full) {
    combine_pixel<Combination>(row, columns.first, columns.near_part * lines);
  }
  if (columns.end_full < columns.end) {
    combine_pixel<Combination>(row, columns.end_full, columns.far_part * lines);
  }
}

// A line of which the rectangle covers so many units.
template <class Combination>
void plain_partial_line(uint16_t* row, const Extent& columns, int32_t lines) {
  plain_sides<Combination>(row, columns, lines);
  combine_run<Combination>(row, columns.first_full, columns.end_full, lines * kUnits);
}

template <class Combination>
void plain_full_line(uint16_t* row, const Extent& columns) {
  plain_sides<Combination>(row, columns, kUnits);
  fill_run(row, columns.first_full, columns.end_full);
}

template <class Combination>
void draw_plain(const Bitmap& plane, const Sides& sides, const ShapeLines& lines) {
  const Extent columns(sides.left, sides.right, plane.width);
  const Extent rows(sides.top, sides.bottom, plane.height);
  if (columns.empty() || rows.empty()) return;

  int64_t y = lines.first_from(rows.first);
  if (y < rows.first_full) {
    plain_partial_line<Combination>(key_row(plane, y), columns, rows.near_part);
    y += lines.step;
  }
  for (; y < rows.end_full; y += lines.step) plain_full_line<Combination>(key_row(plane, y), columns);
  if (y < rows.end) plain_partial_line<Combination>(key_row(plane, y), columns, rows.far_part);
}

struct Radii {
  float x;
  float y;
};

// Radii too large for the sides shrink together until the corners meet along one axis.
Radii fit(Radii radii, float width, float height) {
  if (2 * radii.x < width && 2 * radii.y < height) return radii;
  const float width_at_full_height = height * radii.x / radii.y;
  if (width > width_at_full_height) return {width_at_full_height / 2, height / 2};
  return {width / 2, width / 2 * radii.y / radii.x};
}

bool is_rounded(uint32_t flags) {
  return (flags & BMP_ALPHA_ROUNDED) != 0 && (flags & (BMP_ALPHA_SOFT | BMP_ALPHA_HARD)) != 0;
}

}  // namespace

void alpha_rect(Bitmap& plane, float x, float y, float width, float height, float radius_x, float radius_y,
                uint32_t flags) {
  const float right = x + width;
  const float bottom = y + height;
  if (!is_key_plane(plane) || std::isnan(right) || std::isnan(bottom)) return;

  const Sides sides{to_units(x), to_units(y), to_units(right), to_units(bottom)};
  if (is_rounded(flags)) {
    const Radii radii = fit({radius_x, radius_y}, width, height);
    const RoundedRect shape{{sides.left, sides.right, to_units(radii.x)},
                            {sides.top, sides.bottom, to_units(radii.y)}};
    if (shape.has_corners()) {
      const auto draw = (flags & BMP_ALPHA_HARD) != 0 ? draw_rounded_hard : draw_rounded_soft;
      return draw(plane, shape, flags);
    }
  }
  with_combination(
      flags, [&](auto combination) { draw_plain<decltype(combination)>(plane, sides, ShapeLines(flags)); });
}

}  // namespace dorbmp::alpha
