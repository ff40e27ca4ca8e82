#include "dorbmp/mapping/polygon/one_value.h"

#include <cstring>

#include "dorbmp/mapping/polygon/smooth.h"

namespace dorbmp::mapping {
namespace {

// A colour in the bytes of two pixels, and how opaque it is.
class Value {
 public:
  Value(uint32_t format, uint32_t value, int32_t opacity)
      : is_yuy2_(format == BMP_FORMAT_YUY2), opacity_(opacity) {
    const auto byte = [value](int shift) { return static_cast<uint8_t>(value >> shift); };
    if (is_yuy2_) {
      const uint8_t pair[4] = {byte(16), byte(8), byte(16), byte(0)};
      std::memcpy(bytes_, pair, sizeof(bytes_));
    } else {
      const uint8_t pixel[4] = {byte(0), byte(8), byte(16), 0};
      std::memcpy(bytes_, pixel, sizeof(bytes_));
    }
  }

  // Mixes pixels first to end - 1 with the value by its opacity.
  void mix_into(uint8_t* row, int32_t first, int32_t end, int32_t opacity) const {
    is_yuy2_ ? mix_yuy2(row, first, end, opacity) : mix_rgb32(row, first, end, opacity);
  }
  void mix_into(uint8_t* row, int32_t first, int32_t end) const { mix_into(row, first, end, opacity_); }

 private:
  // The routine's 4096 scale: byte * weight + term.
  static int32_t term(uint8_t component, int32_t opacity) { return component * opacity + kFullKey / 2; }

  static void mix_byte(uint8_t& byte, uint8_t component, int32_t opacity) {
    byte = static_cast<uint8_t>(floor_shift<12>(byte * (kFullKey - opacity) + term(component, opacity)));
  }

  void mix_rgb32(uint8_t* row, int32_t first, int32_t end, int32_t opacity) const {
    for (int32_t x = first; x < end; ++x) {
      uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 4;
      for (int byte = 0; byte < 3; ++byte) mix_byte(pixel[byte], bytes_[byte], opacity);
    }
  }

  // Whole pairs in one run; an odd pixel at the start brings no chroma, an even one at the end does.
  void mix_yuy2(uint8_t* row, int32_t first, int32_t end, int32_t opacity) const {
    const auto pixel = [row](int32_t x) { return row + static_cast<ptrdiff_t>(x) * 2; };
    if (first < end && first % 2 != 0) mix_byte(*pixel(first++), bytes_[0], opacity);
    const int32_t pairs = (end - first) / 2;
    if (pairs > 0) {
      spans::plain::fade_yuy2(pixel(first), kFullKey - opacity, term(bytes_[0], opacity),
                              term(bytes_[1], opacity), term(bytes_[3], opacity), pairs);
      first += pairs * 2;
    }
    if (first < end) {
      mix_byte(pixel(first)[0], bytes_[0], opacity);
      mix_byte(pixel(first)[1], bytes_[1], opacity);
      mix_byte(pixel(first)[3], bytes_[3], opacity);
    }
  }

  uint8_t bytes_[4];
  const bool is_yuy2_;
  const int32_t opacity_;
};

}  // namespace

void fill_polygon(const Bitmap& dst, const Bitmap* cover, uint32_t value, int32_t opacity,
                  const PolygonVertex* vertices, int32_t count, uint32_t flags) {
  const CoveragePlane plane(cover);
  if (dst.format != BMP_FORMAT_YUY2 && dst.format != BMP_FORMAT_RGB32) return;
  if (!is_drawable(vertices, count) || !is_sound(dst) || !plane.covers(dst)) return;
  opacity = std::clamp(opacity, 0, kFullKey);

  const Value paint(dst.format, value, opacity);
  EdgeWriter* const writer = edge_writer(dst.format, plane);
  const EdgeList edges(vertices, count, {LineCoverage::kSubLines, dst.height, false, 1.0f});
  // Over a plane a translucent interior counts by its share, like an edge.
  const bool interior_is_shared = plane.is_given() && opacity != kFullKey;

  SmoothScan scan(edges, dst.width, flags);
  while (scan.next_line()) {
    const LineCoverage& line = scan.coverage();
    uint8_t* const row = pixel_address(dst, 0, scan.y());
    const auto samples = [&](uint8_t* to, int32_t base, int32_t first, int32_t end) {
      paint.mix_into(to, first - base, end - base, kFullKey);
    };
    const auto draw_shared = [&](int32_t first, int32_t end) {
      draw_partial_pixels(row, plane.row(scan.y()), writer, dst.bytes_per_pixel, line, first, end,
                          static_cast<uint32_t>(opacity), samples);
    };
    if (interior_is_shared) {
      draw_shared(line.first, line.end);
      continue;
    }
    draw_shared(line.first, line.inner_first);
    if (line.inner_first < line.inner_end) {
      paint.mix_into(row, line.inner_first, line.inner_end);
      plane.fill(scan.y(), line.inner_first, line.inner_end);
    }
    draw_shared(line.inner_end, line.end);
  }
}

}  // namespace dorbmp::mapping
