#include "dorbmp/mapping/rect/mean_run.h"

namespace dorbmp::mapping {
namespace {

// Whether the samples under each piece of so many units weigh the same, from a position on: they divide it,
// or edges of samples and of pieces are half a piece apart at least.
bool weigh_the_same(int64_t position, int64_t scale, int32_t units) {
  if (units % scale == 0 && position % scale == 0) return true;
  return (position | scale) % (units / 2) == 0;
}

}  // namespace

MeanRun mean_run(const RectMapping& mapping, int32_t unit) {
  const PixelRange whole =
      unit == 2 ? mapping.whole_pairs(mapping.whole_pixels().first) : mapping.whole_pixels();
  const int64_t scale = mapping.scale, position = mapping.position + mapping.edge(whole.first);
  if (position < 0 || scale > kPixelUnits || !weigh_the_same(position, scale, kPixelUnits)) return {};
  const int step = static_cast<int>(kPixelUnits / scale);
  const MeanSamples samples = {position % scale == 0 ? step : 2, step};

  const SourceWalk& down = mapping.down;
  const int64_t line_position = (down.line + 1) * down.scale - down.left + mapping.lines.first_length;
  if (!weigh_the_same(line_position, down.scale, kLineUnits)) return {};
  const int32_t most_lines = std::max(static_cast<int32_t>(kLineUnits / down.scale), 2);
  if (mapping.paints_its_source() || step > kMostMeanSamples ||
      samples.count * most_lines > 1 << kMostMeanBits)
    return {};

  const int64_t first = position / scale;
  if (unit == 2 && step > 1 && (first % 2 != 0 || down.scale >= kLineUnits)) return {};
  const int64_t pixels =
      std::clamp<int64_t>((mapping.source.columns - first) / step, 0, whole.end - whole.first);
  return {{whole.first, whole.first + static_cast<int32_t>(pixels) / unit * unit}, samples, first};
}

MeanLines mean_lines(const Source& source, const Line& line) {
  if (line.height != kLineUnits) return {};
  const LineGroups under = line_groups(source, line);
  for (int n = 1; n < under.count; ++n) {
    if (under.groups[static_cast<size_t>(n)].weight != under.groups[0].weight) return {};
  }
  const LineGroup& first = under.groups[0];
  const LineGroup& last = under.groups[static_cast<size_t>(under.count - 1)];
  return {first.first, last.first + last.count - first.first};
}

}  // namespace dorbmp::mapping
