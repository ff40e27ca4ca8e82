// The RGB driver. A wholly covered pixel becomes its area mean, truncated, and counts as painted once; a
// partly covered one joins what has been painted there before. Byte 3 is never written.
#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/rows.h"
#include "dorbmp/mapping/rect/strips.h"

namespace dorbmp::mapping {
namespace {

void put_line(const RectMapping& mapping, const Strip& strip, const Line& line, const WeighedRows& sums) {
  const PaintedRow at(mapping, line, strip.column, 4);
  uint8_t* const row = at.row;
  uint16_t* const cover = at.cover;
  prefetch_destination(row + mapping.pitch, strip.pixels * 4);
  prefetch_destination(cover + mapping.cover_pitch, strip.pixels * 2);
  const auto put_partial = [&](int32_t from, int32_t to) {
    for (int32_t i = from; i < to; ++i) {
      const uint32_t weight = mapping.pixel_width(strip.first + i) * static_cast<uint32_t>(line.height);
      for (int c = 0; c < 3; ++c)
        row[4 * i + c] = blend(sums.at(4 * i + c), weight, row[4 * i + c], cover[i]);
      cover[i] = painted(cover[i], weight);
    }
  };
  const PixelRange whole = line.height == kLineUnits ? strip.clip(mapping.whole_pixels()) : PixelRange{};
  put_partial(0, whole.first);
  rect_kernels.put_rgb32(sums.from(4 * whole.first), whole.end - whole.first, row + 4 * whole.first,
                         cover + whole.first);
  put_partial(whole.end, strip.pixels);
}

}  // namespace

void map_rows_rgb32(const RectMapping& mapping) {
  const auto weigh = [&](const Strip& strip, Lines lines) {
    BytePlane<4> plane(mapping, strip, rect_kernels.sum_columns_4);
    SumRows<BytePlane<4>> sums(mapping, plane);
    walk_lines(mapping, lines, [&](const Line& line) { put_line(mapping, strip, line, sums.under(line)); });
  };
  const auto means = [&](const MeanRun& run) {
    return walk_means(mapping, [&](const Line& line, const MeanLines& lines) {
      const MeanLine under(mapping, run, lines, 4, 1);
      const auto [row, cover] = PaintedRow(mapping, line, mapping.across.first + run.pixels.first, 4);
      const int32_t inside = under.inside;
      rect_kernels.mean_rgb32(under.block, run.samples, inside, row, cover);
      rect_kernels.mean_rgb32(under.block.from(4 * inside), {1, 1}, under.rest, row + 4 * inside,
                              cover + inside);
    });
  };
  each_part(mapping, 4, 1, weigh, means);
}

}  // namespace dorbmp::mapping
