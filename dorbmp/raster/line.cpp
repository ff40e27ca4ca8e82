#include <algorithm>

#include "dorbmp/bitmap.h"
#include "dorbmp/raster/raster.h"

namespace dorbmp::raster {
namespace {

// One axis of a line: where it starts, which way it goes, how far, and how far it may.
struct Axis {
  int64_t start;
  int64_t distance;
  int direction;
  int64_t size;

  Axis(int32_t from, int32_t to, int32_t limit)
      : start(from),
        distance(from > to ? int64_t{from} - to : int64_t{to} - from),
        direction(from > to ? -1 : 1),
        size(limit) {}

  bool contains(int64_t travelled) const {
    const int64_t position = start + direction * travelled;
    return position >= 0 && position < size;
  }

  // The steps [first, end) at which the position lies inside.
  int64_t first_inside() const { return std::max<int64_t>(direction > 0 ? -start : start - size + 1, 0); }
  int64_t end_inside() const { return std::min(direction > 0 ? size - start : start + 1, distance); }
};

// Minor steps taken after i major steps. The running error, major / 2 at first, loses minor a step and gains
// major when it is no longer positive, so it stays in (0, major]. i and minor are below 2^32: the product
// fits in 64 unsigned bits.
int64_t minor_steps(int64_t i, int64_t major, int64_t minor) {
  if (i == 0) return 0;
  const uint64_t lost = static_cast<uint64_t>(i) * static_cast<uint64_t>(minor);
  const uint64_t half = static_cast<uint64_t>(major / 2);
  return lost < half ? 0 : static_cast<int64_t>((lost - half) / static_cast<uint64_t>(major)) + 1;
}

template <class Operation>
void draw(Bitmap& bitmap, const Axis& x, const Axis& y, Operation operation) {
  const bool steep = y.distance > x.distance;
  const Axis& major = steep ? y : x;
  const Axis& minor = steep ? x : y;
  const int64_t first = major.first_inside();
  const int64_t end = major.end_inside();
  if (first >= end) return;

  // Modulo 2^64: the terms may be large, their sum is in (0, major].
  int64_t taken = minor_steps(first, major.distance, minor.distance);
  auto error = static_cast<int64_t>(static_cast<uint64_t>(major.distance / 2) +
                                    static_cast<uint64_t>(taken) * static_cast<uint64_t>(major.distance) -
                                    static_cast<uint64_t>(first) * static_cast<uint64_t>(minor.distance));

  // Offsets wrap in 32 bits while the line is outside; inside they are what they should be.
  const auto major_at = static_cast<int32_t>(major.start + major.direction * first);
  const auto minor_at = static_cast<int32_t>(minor.start + minor.direction * taken);
  auto offset = static_cast<uint32_t>(steep ? pixel_offset(bitmap, minor_at, major_at)
                                            : pixel_offset(bitmap, major_at, minor_at));
  const auto across = static_cast<uint32_t>(bitmap.bytes_per_pixel * x.direction);
  const auto down = static_cast<uint32_t>(bitmap.pitch * y.direction);
  const uint32_t major_step = steep ? down : across;
  const uint32_t minor_step = steep ? across : down;

  for (int64_t i = first; i < end; ++i) {
    if (minor.contains(taken)) operation(bitmap.pixels[offset]);
    error -= minor.distance;
    offset += major_step;
    if (error <= 0 && minor.distance != 0) {
      error += major.distance;
      offset += minor_step;
      ++taken;
    }
  }
}

}  // namespace

void draw_line(Bitmap& bitmap, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint32_t value, uint32_t op) {
  if (bitmap.format != BMP_FORMAT_PAL8) return;
  const Axis x(x0, x1, bitmap.width);
  const Axis y(y0, y1, bitmap.height);
  const uint8_t byte = static_cast<uint8_t>(value);
  switch (op & 0x70) {
    case BMP_OP_SET:
      return draw(bitmap, x, y, [byte](uint8_t& pixel) { pixel = byte; });
    case BMP_OP_OR:
      return draw(bitmap, x, y, [byte](uint8_t& pixel) { pixel |= byte; });
    case BMP_OP_AND:
      return draw(bitmap, x, y, [byte](uint8_t& pixel) { pixel &= byte; });
    case BMP_OP_XOR:
      return draw(bitmap, x, y, [byte](uint8_t& pixel) { pixel ^= byte; });
    default:
      return;
  }
}

}  // namespace dorbmp::raster
