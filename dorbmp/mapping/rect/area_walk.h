// What a rectangle mapping is after its set-up, and the walk down its lines. Lengths and positions are in
// units of the destination; a source sample is as many units wide or high as the scale says.
#pragma once

#include <algorithm>
#include <array>

#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping {

// Source lines as the mapping reads them: of a frame, or of one of its fields.
struct Source {
  const uint8_t* pixels;
  ptrdiff_t pitch;
  int64_t columns;
  int64_t lines;
};

// A line of the source (it may lie outside) and how much of it is left, at least one unit.
struct SourceWalk {
  int64_t line;
  int64_t left;
  int64_t scale;

  void advance(int64_t units) {
    left -= units;
    if (left >= 1) return;
    const int64_t lines = -left / scale + 1;
    line += lines;
    left += lines * scale;
  }
};

// One direction of the destination: its first pixel or line, how much of that is covered, and the whole
// length, which ends at the bitmap's edge at the latest.
struct Extent {
  int32_t first;
  int32_t first_length;
  int64_t length;
};

// Pixels of a mapping, counted from its first one, or of a strip.
struct PixelRange {
  int32_t first;
  int32_t end;
};

struct RectMapping {
  Source source;
  SourceWalk down;
  int64_t position;  // where the first pixel begins, from the source's left edge
  int64_t scale;     // of a source pixel, at least 1

  uint8_t* pixels;
  ptrdiff_t pitch;
  uint16_t* cover;        // coverage, 4096 in a pixel painted once; null for the 8-bit sampler
  ptrdiff_t cover_pitch;  // in samples
  Extent across;
  Extent lines;
  bool one_field;
  int32_t parity;  // of the lines drawn, if one_field

  // Whether some of the source may be read after it has been painted: then the order counts, which is one
  // line of a strip after the other everywhere.
  bool paints_its_source() const;

  // From the first pixel's beginning to the beginning of the index-th, or to the end.
  int64_t edge(int64_t index) const {
    if (index == 0) return 0;
    return std::min(across.first_length + (index - 1) * kPixelUnits, across.length);
  }

  int32_t pixel_count() const {
    return static_cast<int32_t>((across.length - across.first_length + kPixelUnits - 1) / kPixelUnits) + 1;
  }
  uint32_t pixel_width(int64_t index) const { return static_cast<uint32_t>(edge(index + 1) - edge(index)); }

  // The pixels that are covered over their whole width; those in whole pairs of columns, from an index on.
  PixelRange whole_pixels() const {
    const int32_t first = across.first_length == kPixelUnits ? 0 : 1;
    return {first, first + static_cast<int32_t>((across.length - edge(first)) / kPixelUnits)};
  }
  PixelRange whole_pairs(int32_t from) const {
    const int32_t first = from + ((across.first + from) & 1);
    return {first, first + 2 * static_cast<int32_t>((across.length - edge(first)) / (2 * kPixelUnits))};
  }
};

// A destination line to be drawn.
struct Line {
  int32_t number;
  int32_t height;   // covered height, 1 to 2048
  SourceWalk down;  // where it begins on the source
};

// Calls draw(Line) for each line of the mapping. Lines of the other field are passed over, not left out: the
// source goes on beneath them.
template <class Draw>
void walk_lines(const RectMapping& mapping, Draw draw) {
  Line line = {mapping.lines.first, mapping.lines.first_length, mapping.down};
  for (int64_t rest = mapping.lines.length; rest > 0; ++line.number) {
    if (!mapping.one_field || (line.number & 1) == mapping.parity) draw(line);
    line.down.advance(line.height);
    rest -= line.height;
    line.height = static_cast<int32_t>(std::min<int64_t>(rest, kLineUnits));
  }
}

// What of the source lies beneath a length of the destination, in one direction: a first sample, inner ones
// of which all is covered, a last one, if any. Samples outside repeat the nearest one.
struct Overlap {
  int32_t first;
  int32_t inner;
  uint32_t first_weight;
  uint32_t last_weight;
};

// sample: at the beginning, with so much of it left; it may lie outside.
Overlap overlap(int64_t sample, int64_t left, int64_t length, int64_t scale, int64_t samples);

// The source lines under a line, those of the same weight together where that saves work.
struct LineGroup {
  int32_t first;
  int32_t count;
  uint32_t weight;
};
struct LineGroups {
  int count;
  std::array<LineGroup, kMostRows> groups;
};
LineGroups line_groups(const Source& source, const Line& line);

}  // namespace dorbmp::mapping
