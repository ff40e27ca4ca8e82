#include "dorbmp/mapping/rect/columns.h"

namespace dorbmp::mapping {
namespace {

// Of a position and a scale. Those of real frames fit 32 bits, where division is several times as quick.
int64_t quotient(int64_t dividend, int64_t divisor) {
  if (((dividend | divisor) >> 32) != 0) return dividend / divisor;
  return static_cast<uint32_t>(dividend) / static_cast<uint32_t>(divisor);
}

// How much a pixel's tap-th sample counts.
template <int Channels>
uint32_t tap_weight(const Columns<Channels>& columns, int32_t pixel, int32_t tap) {
  const int32_t last = columns.inner[pixel] + 1;
  if (tap == 0) return columns.first_weight[pixel];
  return tap < last ? columns.inner_weight : tap == last ? columns.last_weight[pixel] : 0;
}

// Lanes of so much fold. False where some of them need samples that are too far away, or too many.
template <int Channels>
bool set_lanes(Columns<Channels>& columns, int32_t most_taps, int fold) {
  const int lanes = fold * Channels;
  columns.fold = fold;
  columns.steps = most_taps <= 2 * fold ? 1 : 2;
  if (most_taps > columns.steps * 2 * fold) return false;
  const int32_t together = std::max(4 / lanes, 1);  // pixels of one load
  for (int32_t i = 0; i < columns.pixels; ++i) {
    const int32_t distance = columns.first[i] - columns.first[i / together * together];
    for (int lane = 0; lane < lanes; ++lane) {
      const int32_t at = i * lanes + lane;
      const int32_t word = distance + lane / Channels * 2 * Channels % 8 + lane % Channels;
      const int32_t next = word + Channels;
      if (next > 7) return false;
      if (lanes < 4 || at < 8)
        columns.picks[at] = static_cast<uint32_t>(word * 0x0202 + next * 0x02020000 + 0x01000100);
      for (int step = 0; step < columns.steps; ++step) {
        const int32_t tap = 2 * (step * fold + lane / Channels);
        columns.weights[step][at] = tap_weight(columns, i, tap) | tap_weight(columns, i, tap + 1) << 16;
      }
    }
  }
  return true;
}

}  // namespace

template <int Channels>
SampleRange set_columns(Columns<Channels>& columns, const RectMapping& mapping, const Strip& strip,
                        const SampleScale& samples, int32_t base) {
  const int64_t scale = samples.scale;
  columns.pixels = (strip.pixels + 7) / 8 * 8;
  columns.inner_weight = static_cast<uint32_t>(scale);
  SampleRange range = {};
  int32_t most_taps = 1;
  for (int32_t i = 0; i < columns.pixels; ++i) {
    // Those added repeat the last pixel.
    const int32_t index = strip.first + std::min(i, strip.pixels - 1);
    const int64_t position = mapping.position + samples.shift + mapping.edge(index);
    const int64_t sample = quotient(position, scale);
    const int64_t left = sample * scale - position + scale;
    const Overlap under = overlap(sample, left, mapping.pixel_width(index), scale, samples.count);
    const int32_t taps = under.last_weight == 0 ? 1 : under.inner + 2;
    if (i == 0) range.first = under.first;
    if (base == kFromFirst) base = range.first;
    range.end = under.first + taps;
    most_taps = std::max(most_taps, taps);
    columns.first[i] = (under.first - base) * Channels;
    columns.inner[i] = under.inner;
    columns.first_weight[i] = static_cast<uint16_t>(under.first_weight);
    columns.last_weight[i] = static_cast<uint16_t>(under.last_weight);
  }
  for (int fold = 1; fold <= Columns<Channels>::kMostFold; fold *= 2) {
    if (set_lanes(columns, most_taps, fold)) return range;
  }
  columns.fold = 0;
  return range;
}

template SampleRange set_columns(Columns<1>&, const RectMapping&, const Strip&, const SampleScale&, int32_t);
template SampleRange set_columns(Columns<2>&, const RectMapping&, const Strip&, const SampleScale&, int32_t);
template SampleRange set_columns(Columns<4>&, const RectMapping&, const Strip&, const SampleScale&, int32_t);

}  // namespace dorbmp::mapping
