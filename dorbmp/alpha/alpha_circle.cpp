// Discs: the front end, and lines with a hard rim.
#include "dorbmp/alpha/alpha.h"
#include "dorbmp/alpha/disc.h"
#include "dorbmp/fields.h"

namespace dorbmp::alpha {
namespace {

// 4 x 4 samples a pixel, 256 each.
class HardRim {
 public:
  HardRim(const Disc& disc, int32_t line) : cx_(disc.cx) {
    for (int j = 0; j < 4; ++j) {
      const double y = line * disc.aspect + disc.aspect * 0.125 + disc.aspect / 4 * j - disc.cy;
      reach_[j] = disc.radius * disc.radius - y * y;
    }
  }

  uint16_t operator()(int32_t x) const {
    int32_t inside = 0;
    for (int i = 0; i < 4; ++i) {
      const double dx = x + (0.125 + 0.25 * i) - cx_;
      for (int j = 0; j < 4; ++j) inside += dx * dx <= reach_[j] ? 1 : 0;
    }
    return static_cast<uint16_t>(inside * (kFullKey / 16));
  }

 private:
  double cx_;
  double reach_[4];  // squared horizontal distances that are still inside
};

void draw_hard_line(uint16_t* row, const Disc& disc, int32_t line) {
  const Chord chord(disc, disc.radius, LineEdges(disc, line));
  const HardRim rim(disc, line);
  SpanWriter writer(row);
  writer.clear(chord.first);
  writer.pixels(chord.full, rim);
  writer.fill(chord.full_end);
  writer.pixels(chord.end, rim);
  writer.clear(disc.width);
}

}  // namespace

void alpha_circle(Bitmap& plane, float cx, float cy, float radius, float softness, float aspect,
                  uint32_t flags) {
  if (!is_key_plane(plane)) return;
  const bool hard = softness <= 0;
  if (hard && radius <= 0) radius = 0;

  const Disc disc(plane, cx, cy, radius, aspect);
  const Band band(disc, softness, flags);
  const FieldRows rows(flags);
  for (int32_t i = 0, count = rows.count(plane.height); i < count; ++i) {
    const int32_t line = rows.first + i * rows.step;
    if (hard) {
      draw_hard_line(key_row(plane, line), disc, line);
    } else {
      draw_soft_line(key_row(plane, line), disc, band, line);
    }
  }
}

}  // namespace dorbmp::alpha
