// The 8-bit sampler: area sum / 2^23, truncated. Partly covered pixels get the mean scaled by their coverage,
// which makes the edges of masks soft; what they held is overwritten.
#include "dorbmp/mapping/rect/rows.h"
#include "dorbmp/mapping/rect/strips.h"

namespace dorbmp::mapping {

void map_rows_mono8(const RectMapping& mapping) {
  const auto row_of = [&](const Line& line, int32_t index) {
    return mapping.pixels + line.number * mapping.pitch + mapping.across.first + index;
  };
  const auto weigh = [&](const Strip& strip, Lines lines) {
    BytePlane<1> plane(mapping, strip, rect_kernels.sum_columns_1);
    SumRows<BytePlane<1>> sums(mapping, plane);
    walk_lines(mapping, lines, [&](const Line& line) {
      uint8_t* row = row_of(line, strip.first);
      prefetch_destination(row + mapping.pitch, strip.pixels);
      rect_kernels.put_mono8(sums.under(line), strip.pixels, row);
    });
  };
  const auto means = [&](const MeanRun& run) {
    return walk_means(mapping, [&](const Line& line, const MeanLines& lines) {
      const MeanLine under(mapping, run, lines, 1, 1);
      uint8_t* row = row_of(line, run.pixels.first);
      rect_kernels.mean_mono8(under.block, run.samples, under.inside, row);
      rect_kernels.mean_mono8(under.block.from(under.inside), {1, 1}, under.rest, row + under.inside);
    });
  };
  each_part(mapping, 1, 1, weigh, means);
}

}  // namespace dorbmp::mapping
