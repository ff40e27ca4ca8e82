// Where a mapping is nothing but means: the samples under every pixel weigh the same, as at scales 1/2, 1/4
// and so on, and at 1:1, also half a pixel off.
#pragma once

#include "dorbmp/mapping/rect/area_walk.h"

namespace dorbmp::mapping {

inline constexpr int kMostMeanSamples = 16;
struct MeanRun {
  PixelRange pixels;  // wholly covered ones; none where the weights differ
  MeanSamples samples;
  int64_t first;  // the first pixel's first sample; at 1:1, the last pixel's last one may lie outside
};

// None either where the lines' weights differ. unit: 1, or 2 for packed 4:2:2: whole pairs of columns, and
// above whole pairs of the source where the step is more than 1. There, such lines have no interior run.
MeanRun mean_run(const RectMapping& mapping, int32_t unit);

// The source lines under a whole line, if all weigh the same, else none.
struct MeanLines {
  int32_t first;
  int32_t count;
};
MeanLines mean_lines(const Source& source, const Line& line);

enum class Lines { kAll, kMeans, kWeighed };

template <class Draw>
void walk_lines(const RectMapping& mapping, Lines lines, Draw draw) {
  walk_lines(mapping, [&](const Line& line) {
    if (lines == Lines::kAll || (mean_lines(mapping.source, line).count > 0) == (lines == Lines::kMeans))
      draw(line);
  });
}

// draw(line, its lines) for those that are means. False if there are others.
template <class Draw>
bool walk_means(const RectMapping& mapping, Draw draw) {
  bool all = true;
  walk_lines(mapping, [&](const Line& line) {
    const MeanLines under = mean_lines(mapping.source, line);
    under.count > 0 ? draw(line, under) : void(all = false);
  });
  return all;
}

// The source under a line of a run, and its pixels: those all of whose samples are inside, and one more (of
// 4:2:2, a pair), whose last sample repeats the one before.
struct MeanLine {
  LineBlock block;
  int32_t inside;
  int32_t rest;

  MeanLine(const RectMapping& mapping, const MeanRun& run, const MeanLines& lines, int bytes, int unit)
      : block{mapping.source.pixels + lines.first * mapping.source.pitch + run.first / unit * unit * bytes,
              mapping.source.pitch, lines.count} {
    const int64_t most = (mapping.source.columns - run.first - run.samples.count) / run.samples.step + 1;
    const int32_t count = run.pixels.end - run.pixels.first;
    inside = static_cast<int32_t>(std::min<int64_t>(most, count)) / unit * unit;
    rest = count - inside;
  }
};

}  // namespace dorbmp::mapping
