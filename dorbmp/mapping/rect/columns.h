// A strip's pixels: some neighbouring columns of a mapping, and the source samples beneath each.
#pragma once

#include "dorbmp/mapping/rect/area_walk.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping {

struct Strip {
  int32_t first;   // index of its first pixel in the mapping
  int32_t column;  // and where that is in the destination
  int32_t pixels;

  PixelRange clip(PixelRange range) const {
    const int32_t from = std::clamp(range.first - first, 0, pixels);
    return {from, std::clamp(range.end - first, from, pixels)};
  }
};

struct SampleRange {
  int32_t first;
  int32_t end;
};

// Samples as the columns of a strip see them. The pixels lie shift units further to the right.
struct SampleScale {
  int64_t scale;  // units to a sample
  int64_t count;  // in a line; those outside repeat the nearest one
  int64_t shift = 0;
};

// Channels: 1, 2 or 4. Samples are counted from the base-th, which is not behind the first; by default, from
// the first. Returns those that are needed.
inline constexpr int32_t kFromFirst = -1;
template <int Channels>
SampleRange set_columns(Columns<Channels>& columns, const RectMapping& mapping, const Strip& strip,
                        const SampleScale& samples, int32_t base = kFromFirst);

}  // namespace dorbmp::mapping
