// A mapping's pixels in strips: some neighbouring columns of all lines, few enough for everything about them
// to live on the stack and in the first-level cache. What depends on the columns alone is worked out once a
// strip, and what a line shares with the one above once for both.
#pragma once

#include "dorbmp/compiler.h"
#include "dorbmp/cpu/rect_kernels.h"
#include "dorbmp/mapping/rect/columns.h"
#include "dorbmp/mapping/rect/mean_run.h"

namespace dorbmp::mapping {

// So many source samples a strip has at most, or those of one pixel (of a pair of columns, where pixels go in
// pairs): as many as it has units, some in part and what their pairs add.
inline constexpr int32_t kStripSamples = 2048;
constexpr int32_t most_samples(int32_t pixels) {
  return std::max(kStripSamples, pixels * kPixelUnits) + 8;
}
inline constexpr int32_t kWordsBehind = kBytesBehind / 2;

// The more a pixel's sums take, the narrower a strip is, for the first-level cache. unit: 2 where it must end
// between two pairs of columns, or 1.
inline int32_t strip_width(const RectMapping& mapping, int channels, int32_t unit) {
  const int32_t most_pixels = channels < 4 ? Columns<1>::kMostPixels : Columns<4>::kMostPixels;
  const int32_t most = channels < 4 ? kStripSamples : kStripSamples / 2;
  const int64_t fitting = most * std::min<int64_t>(mapping.scale, kPixelUnits) / kPixelUnits;
  return std::max(static_cast<int32_t>(std::min<int64_t>(fitting, most_pixels)) / unit, 1) * unit;
}

template <class Map>
void each_strip(const RectMapping& mapping, PixelRange range, int32_t width, Map map) {
  for (int32_t first = range.first; first < range.end;) {
    const int32_t column = mapping.across.first + first;
    const int32_t pixels = std::min(width - column % width, range.end - first);
    map(Strip{first, column, pixels});
    first += pixels;
  }
}

// All of a mapping: its run, where lines are means as well, by means(run), which says whether all lines are;
// the rest by weigh(strip, lines).
template <class Weigh, class Means>
void each_part(const RectMapping& mapping, int channels, int32_t unit, Weigh weigh, Means means) {
  const PixelRange all = {0, mapping.pixel_count()};
  const int32_t width = strip_width(mapping, channels, unit);
  const auto weigh_all = [&](PixelRange range, Lines lines) {
    each_strip(mapping, range, width, [&](const Strip& strip) { weigh(strip, lines); });
  };
  const MeanRun run = mean_run(mapping, unit);
  if (run.pixels.end <= run.pixels.first) return weigh_all(all, Lines::kAll);
  const bool all_lines = means(run);
  weigh_all({0, run.pixels.first}, Lines::kMeans);
  weigh_all({run.pixels.end, all.end}, Lines::kMeans);
  if (!all_lines) weigh_all(all, Lines::kWeighed);
}

// Where a line's pixels of a column are, and their coverage.
struct PaintedRow {
  uint8_t* row;
  uint16_t* cover;

  PaintedRow(const RectMapping& mapping, const Line& line, ptrdiff_t column, int bytes)
      : row(mapping.pixels + line.number * mapping.pitch + column * bytes),
        cover(mapping.cover + line.number * mapping.cover_pitch + column) {}
};

// The next line of a strip is far away in memory: it is asked for while this one is worked on. It need not be
// an address of anything. (Kernels ask for source lines bit by bit: all at once, they took a third longer.)
inline void prefetch_destination(const void* row, int32_t bytes) {
  for (int32_t i = 0; i < bytes; i += 64) DORBMP_PREFETCH_FOR_WRITE(static_cast<const uint8_t*>(row) + i);
}

// Rows of sums of a strip's pixels, kept while the lines below may want them. Planes knows the columns: how
// many sums a row has, and how they are made of a block of lines.
template <class Planes>
class SumRows {
 public:
  SumRows(const RectMapping& mapping, Planes& of)
      : source(mapping.source),
        planes(of),
        looks_ahead(mapping.down.scale > kLineUnits / 2 && !mapping.one_field &&
                    !mapping.paints_its_source()) {}

  WeighedRows under(const Line& line) {
    const LineGroups groups = line_groups(source, line);
    WeighedRows found = {groups.count, {}, {}};
    uint32_t taken = 0;
    for (size_t n = 0; n < static_cast<size_t>(groups.count); ++n) {
      const Row& row = of(groups.groups[n], taken);
      found.rows[n] = row.sums;
      found.weights[n] = groups.groups[n].weight;
    }
    return found;
  }

 private:
  struct Row {
    int32_t first = 0;
    int32_t count = 0;
    alignas(32) uint32_t sums[Planes::kSums];
  };

  // A row that has the group's sums, or one that is free and gets them.
  const Row& of(const LineGroup& group, uint32_t& taken) {
    for (size_t n = 0; n < std::size(rows); ++n) {
      if (rows[n].first == group.first && rows[n].count == group.count) {
        taken |= 1u << n;
        return rows[n];
      }
    }
    Row& row = free_row(taken);
    if (looks_ahead && group.count == 1 && may_be_read(group.first + 1)) {
      uint32_t both = taken;
      sum_two(group.first, row, free_row(both));
    } else {
      sum(group, row);
    }
    return row;
  }

  Row& free_row(uint32_t& taken) {
    size_t free = 0;
    while ((taken >> free & 1) != 0) ++free;
    taken |= 1u << free;
    return rows[free];
  }

  // One line can be read as it is, where others follow that may be read as well.
  bool may_be_read(int32_t line) const { return (source.lines - 1 - line) * source.pitch >= kBytesBehind; }

  LineBlock block_of(int32_t first, int32_t count) const {
    return {source.pixels + first * source.pitch, source.pitch, count};
  }

  void sum_two(int32_t line, Row& row, Row& next) {
    row.first = line;
    next.first = line + 1;
    row.count = next.count = 1;
    planes.sum(block_of(line, 1), true, row.sums, next.sums);
  }

  void sum(const LineGroup& group, Row& row) {
    row.first = group.first;
    row.count = group.count;
    const auto sum_block = [&](int32_t from, uint32_t* sums) {
      const int32_t first = group.first + from, count = std::min(group.count - from, kMostLines);
      planes.sum(block_of(first, count), count == 1 && may_be_read(first), sums, nullptr);
    };
    sum_block(0, row.sums);
    for (int32_t from = kMostLines; from < group.count; from += kMostLines) {
      uint32_t more[Planes::kSums];
      sum_block(from, more);
      for (int i = 0; i < Planes::kSums; ++i) row.sums[i] += more[i];
    }
  }

  const Source& source;
  Planes& planes;
  bool looks_ahead;  // the line below one will be wanted as well
  Row rows[kMostRows + 1];
};

// A strip's pixels of so many bytes.
template <int Channels>
struct BytePlane {
  static constexpr int32_t kMostPixels = Columns<Channels>::kMostPixels;
  static constexpr int32_t kSums = kMostPixels * Channels;

  Columns<Channels> columns;
  SumColumns<Channels>* sum_columns;
  ptrdiff_t offset;
  int32_t samples;
  uint16_t words[most_samples(1) * Channels + kWordsBehind];

  BytePlane(const RectMapping& mapping, const Strip& strip, SumColumns<Channels>* kernel)
      : sum_columns(kernel) {
    const SampleRange range = set_columns(columns, mapping, strip, {mapping.scale, mapping.source.columns});
    samples = range.end - range.first;
    offset = ptrdiff_t{range.first} * Channels;
    std::fill_n(words + samples * Channels, kWordsBehind, uint16_t{0});
  }

  void sum(LineBlock block, bool as_it_is, uint32_t* sums, uint32_t* next_sums) {
    block.lines += offset;
    if (as_it_is) return sum_columns(columns, {Samples::kBytes, block.lines, block.pitch}, sums, next_sums);
    rect_kernels.add_bytes(block, samples * Channels, words);
    sum_columns(columns, {Samples::kWords, words}, sums, nullptr);
  }
};

}  // namespace dorbmp::mapping
