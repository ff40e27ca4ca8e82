// Rectangle mapping: set-up and clipping. All of it is in double precision; what follows is in integers.
#include "dorbmp/mapping/rect/map_rect.h"

#include <cmath>

#include "dorbmp/bitmap.h"
#include "dorbmp/fields.h"
#include "dorbmp/mapping/rect/area_walk.h"
#include "dorbmp/mapping/rect/rows.h"

namespace dorbmp::mapping {
namespace {

// One direction of the two rectangles.
struct Axis {
  double dst0, dst1;
  double src0, src1;
};

// Moves the start inside the source, then inside the destination, its partner along the same linear map. The
// end stays where it is. The order counts: a later step may push the source start out again.
void clip_start(Axis& axis, double source_size, double destination_size) {
  const double dst_span = axis.dst1 - axis.dst0;
  const double src_span = axis.src1 - axis.src0;
  if (axis.src0 < 0) {
    axis.dst0 -= dst_span * axis.src0 / src_span;
    axis.src0 = 0;
  }
  if (axis.src0 > source_size) {
    axis.dst0 -= (axis.src0 - source_size) * dst_span / src_span;
    axis.src0 = source_size;
  }
  if (axis.dst0 < 0) {
    axis.src0 -= src_span * axis.dst0 / dst_span;
    axis.dst0 = 0;
  }
  if (axis.dst0 > destination_size) {
    axis.src0 -= (axis.dst0 - destination_size) * src_span / dst_span;
    axis.dst0 = destination_size;
  }
}

bool is_finite(const Axis& axis) {
  return std::isfinite(axis.dst0) && std::isfinite(axis.dst1) && std::isfinite(axis.src0) &&
         std::isfinite(axis.src1);
}

// Truncates. Far beyond any bitmap the value stops, so that sums and differences of two stay in 64 bits.
int64_t to_units(double value) {
  constexpr double kLimit = 0x1p59;
  return static_cast<int64_t>(std::clamp(value, -kLimit, kLimit));
}

struct AxisUnits {
  Extent extent;
  int64_t scale;
  int64_t position;
};

// False where nothing is to be drawn. size: of the destination, in pixels or lines.
bool to_fixed_point(const Axis& axis, int32_t size, int32_t units, AxisUnits& out) {
  if (!is_finite(axis)) return false;
  const int64_t start = to_units(axis.dst0 * units);
  const int64_t length = to_units(axis.dst1 * units) - start;
  const int64_t source_length = to_units(axis.src1 * units) - to_units(axis.src0 * units);
  if (length < 1 || source_length == 0 || start < 0 || start >= int64_t{size} * units) return false;

  // Rounded up, so that the source is not left behind at the far end.
  out.scale = std::max<int64_t>(
      to_units(static_cast<double>(length) * units / static_cast<double>(source_length) + 0.99999), 1);
  out.position = to_units(static_cast<double>(out.scale) * axis.src0);
  out.extent.first = static_cast<int32_t>(start / units);
  out.extent.first_length = static_cast<int32_t>(std::min(units - start % units, length));
  out.extent.length = std::min(length, int64_t{size} * units - start);
  return true;
}

SourceWalk walk_from(int64_t position, int64_t scale) {
  return {position / scale, scale - position % scale, scale};
}

// Whether both the mapping and the source are of one field: then the source's lines are that field's.
bool reads_one_field(const Bitmap& src, uint32_t flags) {
  return (flags & src.field_mode & BMP_FIELD_ONLY) != 0;
}

Source source_lines(const Bitmap& src, uint32_t flags) {
  if (!reads_one_field(src, flags)) return {src.pixels, src.pitch, src.width, src.height};
  const FieldRows field(flags);
  return {src.pixels + ptrdiff_t{field.first} * src.pitch, ptrdiff_t{field.step} * src.pitch, src.width,
          field.count(src.height)};
}

// Source coordinates down the lines that are read. The centres of a field's lines lie a quarter off.
Axis to_source_lines(Axis down, const Bitmap& src, uint32_t flags) {
  if (!reads_one_field(src, flags)) return down;
  const double shift = (flags & BMP_FIELD_ODD) != 0 ? -0.25 : 0.25;
  return {down.dst0, down.dst1, down.src0 * 0.5 + shift, down.src1 * 0.5 + shift};
}

// Where the source has pixels of another size than the driver's, the first one is addressed by the source's
// size and the following ones by the driver's: numbers the columns anew, within the same bytes of a line.
// Returns the bytes left out before the first of them.
int64_t renumber_columns(const Bitmap& src, int32_t pixel_bytes, RectMapping& mapping) {
  const int64_t own_bytes = src.bytes_per_pixel;
  const int64_t first = std::clamp<int64_t>(mapping.position / mapping.scale, 0, src.width - 1);
  const int64_t shift = first * own_bytes % pixel_bytes;
  mapping.position += (first * own_bytes / pixel_bytes - first) * mapping.scale;
  mapping.source.pixels += shift;
  mapping.source.columns = (src.width * own_bytes - shift) / pixel_bytes;
  return shift;
}

// How many of the columns can be used where pixels are 16 bits wide and go in pairs: the partner of the last
// one must lie in the line's padding at least. It does in every frame of bmp_create.
int64_t columns_of_whole_pairs(int64_t columns, int64_t line_bytes) {
  return std::min(columns, line_bytes / 4 * 2);
}

struct Driver {
  void (*map_rows)(const RectMapping& mapping);  // null: nothing is drawn
  int32_t pixel_bytes;
  bool in_pairs;
};

Driver choose_driver(const Bitmap& dst, const Bitmap* cover) {
  if (cover == nullptr) {
    return dst.format == BMP_FORMAT_PAL8 ? Driver{map_rows_mono8, 1, false} : Driver{};
  }
  if (cover->bytes_per_pixel != sizeof(uint16_t)) return {};
  switch (dst.format) {
    case BMP_FORMAT_YUY2:
      return {map_rows_yuy2, 2, true};
    case BMP_FORMAT_RGB32:
      return {map_rows_rgb32, 4, false};
    default:
      return {};
  }
}

// The source: its lines, and of them the columns that the driver can read. Needs position and scale.
bool set_source(const Driver& driver, const Bitmap& src, uint32_t flags, RectMapping& mapping) {
  if (src.bytes_per_pixel < 1 || src.bytes_per_pixel > 4 || src.width < 1) return false;
  mapping.source = source_lines(src, flags);
  int64_t shift = 0;
  if (src.bytes_per_pixel != driver.pixel_bytes) shift = renumber_columns(src, driver.pixel_bytes, mapping);
  int64_t& columns = mapping.source.columns;
  if (driver.in_pairs) columns = columns_of_whole_pairs(columns, src.pitch - shift);
  return columns >= 1 && mapping.source.lines >= 1;
}

// The destination and where the two rectangles lie. False where nothing is to be drawn.
bool set_geometry(const Driver& driver, Bitmap& dst, Bitmap* cover, const Axis& across, const Axis& down,
                  RectMapping& mapping) {
  const Bitmap& bounds = cover != nullptr ? *cover : dst;
  int64_t columns = std::min(dst.width, bounds.width);
  if (driver.in_pairs) columns = columns_of_whole_pairs(columns, std::min(dst.pitch, cover->pitch));
  AxisUnits horizontal, vertical;
  if (!to_fixed_point(across, static_cast<int32_t>(columns), kPixelUnits, horizontal) ||
      !to_fixed_point(down, std::min(dst.height, bounds.height), kLineUnits, vertical)) {
    return false;
  }
  mapping.across = horizontal.extent;
  mapping.scale = horizontal.scale;
  mapping.position = horizontal.position;
  mapping.lines = vertical.extent;
  mapping.down = walk_from(vertical.position, vertical.scale);
  mapping.pixels = dst.pixels;
  mapping.pitch = dst.pitch;
  if (cover != nullptr) {
    mapping.cover = reinterpret_cast<uint16_t*>(cover->pixels);
    mapping.cover_pitch = cover->pitch / static_cast<ptrdiff_t>(sizeof(uint16_t));
  }
  return true;
}

}  // namespace

void map_rect(Bitmap& dst, Bitmap* cover, float dst_x0, float dst_y0, float dst_x1, float dst_y1,
              const Bitmap& src, const int32_t* src_extent, float src_x0, float src_y0, float src_x1,
              float src_y1, uint32_t flags) {
  // An extent would only take part in the clipping of a call that draws nothing.
  const Driver driver = choose_driver(dst, cover);
  if (driver.map_rows == nullptr || src_extent != nullptr) return;

  Axis across = {dst_x0, dst_x1, src_x0, src_x1};
  Axis down = to_source_lines({dst_y0, dst_y1, src_y0, src_y1}, src, flags);
  const Bitmap& bounds = cover != nullptr ? *cover : dst;
  clip_start(across, src.width, bounds.width);
  clip_start(down, src.height * (reads_one_field(src, flags) ? 0.5 : 1), bounds.height);

  RectMapping mapping = {};
  mapping.one_field = (flags & BMP_FIELD_ONLY) != 0;
  mapping.parity = flags & BMP_FIELD_ODD;
  if (set_geometry(driver, dst, cover, across, down, mapping) && set_source(driver, src, flags, mapping)) {
    driver.map_rows(mapping);
  }
}

}  // namespace dorbmp::mapping
