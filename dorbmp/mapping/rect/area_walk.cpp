#include "dorbmp/mapping/rect/area_walk.h"

namespace dorbmp::mapping {

bool RectMapping::paints_its_source() const {
  const auto address = [](const uint8_t* at) { return reinterpret_cast<uintptr_t>(at); };
  const int64_t end = lines.first + (lines.length + kLineUnits - 1) / kLineUnits + 1;
  return address(pixels) < address(source.pixels + source.lines * source.pitch) &&
         address(source.pixels) < address(pixels + end * pitch);
}

Overlap overlap(int64_t sample, int64_t left, int64_t length, int64_t scale, int64_t samples) {
  const int64_t last = samples - 1;
  if (sample < 0) {
    left -= sample * scale;
    sample = 0;
  }
  if (sample >= last) {
    sample = last;
    left = length;
  }
  Overlap found = {};
  found.first = static_cast<int32_t>(sample);
  found.first_weight = static_cast<uint32_t>(std::min(left, length));
  const int64_t rest = length - found.first_weight;
  if (rest > 0) {
    found.inner = rest <= scale ? 0 : static_cast<int32_t>(std::min((rest - 1) / scale, last - sample - 1));
    found.last_weight = static_cast<uint32_t>(rest - found.inner * scale);
  }
  return found;
}

LineGroups line_groups(const Source& source, const Line& line) {
  const SourceWalk& down = line.down;
  const Overlap under = overlap(down.line, down.left, line.height, down.scale, source.lines);
  LineGroups found = {1, {LineGroup{under.first, 1, under.first_weight}}};
  const auto add = [&](int32_t count, uint32_t weight) {
    LineGroup& group = found.groups[static_cast<size_t>(found.count - 1)];
    // Two lines are better weighed apart: the next one may want the sums of the second.
    if (weight == group.weight && under.inner > 0) {
      group.count += count;
    } else if (count > 0) {
      found.groups[static_cast<size_t>(found.count++)] = {group.first + group.count, count, weight};
    }
  };
  add(under.inner, static_cast<uint32_t>(down.scale));
  add(under.last_weight != 0 ? 1 : 0, under.last_weight);
  return found;
}

}  // namespace dorbmp::mapping
