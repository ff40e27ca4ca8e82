// The 8-bit sampler: area sum / 2^23, truncated. Partly covered pixels get the mean scaled by their coverage,
// which makes the edges of masks soft; what they held is overwritten.
#include "dorbmp/mapping/rect/rows.h"
#include "dorbmp/mapping/rect/strips.h"

namespace dorbmp::mapping {

void map_rows_mono8(const RectMapping& mapping) {
  each_strip(mapping, 1, 1, [&](const Strip& strip) {
    BytePlane<1> plane(mapping, strip, rect_kernels.sum_columns_1);
    SumRows<BytePlane<1>> sums(mapping.source, plane);
    walk_lines(mapping, [&](const Line& line) {
      uint8_t* row = mapping.pixels + line.number * mapping.pitch + strip.column;
      prefetch_destination(row + mapping.pitch, strip.pixels);
      rect_kernels.put_mono8(sums.under(line), strip.pixels, row);
    });
  });
}

}  // namespace dorbmp::mapping
