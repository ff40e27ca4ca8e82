// A mapping's pixels in strips: some neighbouring columns of all lines, few enough for what their pixels are
// mixed from to live on the stack. It depends on the columns alone and is worked out once a strip.
#pragma once

#include "dorbmp/compiler.h"
#include "dorbmp/cpu/rect_kernels.h"
#include "dorbmp/mapping/rect/area_walk.h"

namespace dorbmp::mapping {

inline constexpr int32_t kStripPixels = 512;  // at most
inline constexpr int32_t kChunkBytes = 2048;  // source bytes of a line that are weighed at a time

struct Strip {
  int32_t first;   // index of its first pixel in the mapping
  int32_t column;  // and where that is in the destination
  int32_t pixels;

  PixelRange clip(PixelRange range) const {
    const int32_t from = std::clamp(range.first - first, 0, pixels);
    return {from, std::clamp(range.end - first, from, pixels)};
  }
};

// The more a pixel's sums take, the narrower a strip is, for the first-level cache. It ends between two pairs
// of columns.
constexpr int32_t strip_pixels(int channels) {
  return channels < 4 ? kStripPixels : kStripPixels / 2;
}

template <class Map>
void each_strip(const RectMapping& mapping, int channels, Map map) {
  const int32_t width = strip_pixels(channels);
  const int32_t end = mapping.pixel_count();
  for (int32_t first = 0; first < end;) {
    const int32_t column = mapping.across.first + first;
    const int32_t pixels = std::min(width - column % width, end - first);
    map(Strip{first, column, pixels});
    first += pixels;
  }
}

// The next line of a strip is far away in memory: it is asked for while this one is worked on. These need not
// be addresses of anything.
inline void prefetch_destination(const void* row, int32_t bytes) {
  for (int32_t i = 0; i < bytes; i += 64) DORBMP_PREFETCH_FOR_WRITE(static_cast<const uint8_t*>(row) + i);
}

inline void prefetch_source(const LineTaps& taps, ptrdiff_t offset, int32_t bytes) {
  const uint8_t* row = taps.first + taps.count * taps.pitch + offset;
  for (int32_t i = 0; i < bytes; i += 64) DORBMP_PREFETCH(row + i);
}

// Of a position and a scale. Those of real frames fit 32 bits, where division is several times as quick.
inline int64_t quotient(int64_t dividend, int64_t divisor) {
  if (((dividend | divisor) >> 32) != 0) return dividend / divisor;
  return static_cast<uint32_t>(dividend) / static_cast<uint32_t>(divisor);
}

// Which two neighbouring samples each pixel of a strip, or each of its edges, is mixed from, in which
// proportion; and the pixels' area sums under the line at hand.
template <int Channels>
struct Columns {
  bool from_edges;
  int32_t count;  // of pixels, or of edges: one more
  int32_t done;   // of them, those mixed
  int32_t sample[kStripPixels + 1];
  uint32_t weight[kStripPixels + 1][2 * Channels];
  uint32_t sums[kStripPixels + 1][Channels];

  // shift: units to the right. scale: of a sample. Samples outside repeat the nearest one.
  void set(const RectMapping& mapping, const Strip& strip, int64_t shift, int64_t scale, int64_t samples) {
    from_edges = mapping.scale < kPixelUnits;
    count = strip.pixels + (from_edges ? 1 : 0);
    for (int32_t i = 0; i < count; ++i) {
      const int32_t index = strip.first + i;
      const int64_t position = mapping.position + shift + mapping.edge(index);
      const int64_t first = std::clamp<int64_t>(quotient(position, scale), 0, samples - 1);
      // An edge outside lies on the straight continuation of the first or the last sample. These products
      // wrap with the integral.
      int64_t second_weight = position - first * scale;
      int64_t both = scale;
      if (!from_edges) {
        both = mapping.pixel_width(index);
        second_weight = first == samples - 1 ? 0 : std::max<int64_t>(second_weight + both - scale, 0);
      }
      sample[i] = static_cast<int32_t>(first);
      for (int c = 0; c < Channels; ++c) {
        weight[i][c] = static_cast<uint32_t>(both - second_weight);
        weight[i][c + Channels] = static_cast<uint32_t>(second_weight);
      }
    }
  }

  // Pixels also take the neighbour of their last sample, if there is one.
  int32_t end_sample(int64_t samples) const {
    const int32_t end = sample[count - 1] + (from_edges ? 1 : 2);
    return static_cast<int32_t>(std::min<int64_t>(end, samples));
  }

  // Takes the values (for edges: the running sums) of the samples first to end.
  void take(Mix* mix, const uint32_t* values, int32_t first, int32_t end) {
    const int32_t from = done;
    if (sample[count - 1] < end) {
      done = count;
    } else {
      while (sample[done] < end) ++done;
    }
    mix(sample + from, weight[from], done - from, values, first, sums[from]);
  }

  void finish(Subtract* subtract) {
    if (from_edges) subtract(sums[0], Channels, (count - 1) * Channels);
  }
};

// A row of weighed samples of Channels values, or of their running sums. In front stands what came before, of
// running sums; behind, a sample of no weight: the neighbour that a source's last one lacks.
template <int Channels, int32_t Most>
struct Values {
  uint32_t before[(Most + 2) * Channels + kMixReach];

  Values() { std::fill_n(before, Channels, 0); }

  uint32_t* weighed() { return before + Channels; }
  void end_at(int32_t count) { std::fill_n(weighed() + count * Channels, Channels, 0); }
  void go_on_from(int32_t count) { std::copy_n(before + count * Channels, Channels, before); }
};

// The area sums of a strip's pixels of Channels bytes under a line.
template <int Channels>
void sum_line(const Source& source, const Line& line, Columns<Channels>& columns, SumSamples* sum, Mix* mix) {
  constexpr int32_t kChunk = kChunkBytes / Channels;
  static_assert(kChunk >= strip_pixels(Channels) + 2, "pixels that are no edges are mixed from one chunk");
  Values<Channels, kChunk> values;
  const LineTaps taps = line_taps(source, line);
  const int32_t end = columns.end_sample(source.columns);
  columns.done = 0;
  for (int32_t first = columns.sample[0]; first < end; first += kChunk) {
    const int32_t count = std::min(kChunk, end - first);
    const ptrdiff_t offset = ptrdiff_t{first} * Channels;
    prefetch_source(taps, offset, count * Channels);
    if (columns.from_edges) {
      sum(taps, offset, count, values.before);
      columns.take(mix, values.before, first, first + count);
      values.go_on_from(count);
    } else {
      rect_kernels.weigh_bytes(taps, offset, count * Channels, values.weighed());
      values.end_at(count);
      columns.take(mix, values.weighed(), first, first + count);
    }
  }
  columns.finish(rect_kernels.subtract);
}

}  // namespace dorbmp::mapping
