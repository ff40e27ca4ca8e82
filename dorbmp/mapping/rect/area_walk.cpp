#include "dorbmp/mapping/rect/area_walk.h"

namespace dorbmp::mapping {

LineTaps line_taps(const Source& source, const Line& line) {
  const int64_t last = source.lines - 1;
  const int64_t scale = line.down.scale;
  int64_t tap = line.down.line;
  int64_t left = line.down.left;
  if (tap < 0) {
    left -= tap * scale;
    tap = 0;
  }
  if (tap >= last) {
    tap = last;
    left = line.height;
  }
  LineTaps taps = {};
  taps.first = source.pixels + tap * source.pitch;
  taps.pitch = source.pitch;
  taps.count = 1;
  taps.first_weight = static_cast<uint32_t>(std::min<int64_t>(left, line.height));

  const int64_t rest = line.height - taps.first_weight;
  if (rest > 0) {
    const int64_t inner = std::min((rest - 1) / scale, last - tap - 1);
    taps.count = static_cast<int32_t>(inner + 2);
    taps.inner_weight = static_cast<uint32_t>(scale);
    taps.last_weight = static_cast<uint32_t>(rest - inner * scale);
  }
  return taps;
}

}  // namespace dorbmp::mapping
