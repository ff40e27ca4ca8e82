// The packed 4:2:2 driver. Every pixel joins what has been painted there before, wholly covered ones too,
// except in the interior run: the whole pairs of a full line that lies within one source line. Those are
// overwritten, rounded to nearest, and count as painted once.
//
// A source pixel brings its own luma and the chroma of its pair; the chroma of a destination pair is blended
// twice, once for each of its pixels.
#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/rows.h"
#include "dorbmp/mapping/rect/strips.h"

namespace dorbmp::mapping {
namespace {

bool has_interior_run(const RectMapping& mapping, const Line& line) {
  return mapping.scale != kPixelUnits && line.height == kLineUnits && line.height <= line.down.left;
}

struct PairColumns {
  Columns<1> luma;
  Columns<2> chroma;  // of source pairs, twice as wide
  // The interior run walks the source pairs in half units: its pixels begin on even units. Where the others
  // do so too, they serve the run as well.
  Columns<2> run_chroma;
  bool run_is_shifted;

  PairColumns(const RectMapping& mapping, const Strip& strip) {
    const int64_t pairs = (mapping.source.columns + 1) / 2;
    luma.set(mapping, strip, 0, mapping.scale, mapping.source.columns);
    chroma.set(mapping, strip, 0, 2 * mapping.scale, pairs);
    run_is_shifted = ((mapping.position + mapping.edge(1)) & 1) != 0;
    if (run_is_shifted) run_chroma.set(mapping, strip, 1, 2 * mapping.scale, pairs);
  }

  void sum_line(const Source& source, const Line& line, bool with_run);
};

void PairColumns::sum_line(const Source& source, const Line& line, bool with_run) {
  constexpr int32_t kChunk = kChunkBytes / 4;  // pairs
  static_assert(2 * kChunk >= kStripPixels + 4, "pixels that are no edges are mixed from one chunk");
  Values<1, 2 * kChunk> luma_values;
  Values<2, kChunk> chroma_values;
  const LineTaps taps = line_taps(source, line);
  const bool shifted_run = with_run && run_is_shifted;
  const int32_t end = (shifted_run ? run_chroma : chroma).end_sample((source.columns + 1) / 2);
  luma.done = chroma.done = run_chroma.done = 0;
  for (int32_t first = chroma.sample[0]; first < end; first += kChunk) {
    const int32_t pairs = std::min(kChunk, end - first);
    const ptrdiff_t offset = ptrdiff_t{first} * 4;
    prefetch_source(taps, offset, pairs * 4);
    const uint32_t* y = luma_values.before;
    const uint32_t* uv = chroma_values.before;
    if (luma.from_edges) {
      rect_kernels.sum_pairs(taps, offset, pairs, luma_values.before, chroma_values.before);
    } else {
      y = luma_values.weighed();
      uv = chroma_values.weighed();
      rect_kernels.weigh_pairs(taps, offset, pairs, luma_values.weighed(), chroma_values.weighed());
      luma_values.end_at(2 * pairs);
      chroma_values.end_at(pairs);
    }
    luma.take(rect_kernels.mix_1, y, 2 * first, 2 * (first + pairs));
    chroma.take(rect_kernels.mix_2, uv, first, first + pairs);
    if (shifted_run) run_chroma.take(rect_kernels.mix_2, uv, first, first + pairs);
    luma_values.go_on_from(2 * pairs);
    chroma_values.go_on_from(pairs);
  }
  luma.finish(rect_kernels.subtract);
  chroma.finish(rect_kernels.subtract);
  if (shifted_run) run_chroma.finish(rect_kernels.subtract);
}

void put_line(const RectMapping& mapping, const Strip& strip, const Line& line, bool run,
              const PairColumns& columns) {
  uint8_t* row = mapping.pixels + line.number * mapping.pitch + ptrdiff_t{strip.column} * 2;
  uint16_t* cover = mapping.cover + line.number * mapping.cover_pitch + strip.column;
  prefetch_destination(row + mapping.pitch, strip.pixels * 2);
  prefetch_destination(cover + mapping.cover_pitch, strip.pixels * 2);
  const auto put_pixels = [&](int32_t from, int32_t to) {
    for (int32_t i = from; i < to; ++i) {
      const uint32_t weight = mapping.pixel_width(strip.first + i) * static_cast<uint32_t>(line.height);
      const int odd = (strip.column + i) & 1;
      blend_yuy2(columns.luma.sums[i][0], columns.chroma.sums[i], weight, odd, row + 2 * (i - odd),
                 cover + i - odd);
    }
  };
  // A line's first pixel is blended even where a run follows.
  PixelRange pairs = {};
  if (line.height == kLineUnits) {
    pairs = strip.clip(mapping.whole_pairs(run ? 1 : mapping.whole_pixels().first));
  }
  const int32_t first = pairs.first;
  const Columns<2>& chroma = run && columns.run_is_shifted ? columns.run_chroma : columns.chroma;
  PutPairs* put_pairs = run ? rect_kernels.put_yuy2_run : rect_kernels.put_yuy2_blended;
  put_pixels(0, first);
  put_pairs(columns.luma.sums[first], chroma.sums[first], (pairs.end - first) / 2, row + 2 * first,
            cover + first);
  put_pixels(pairs.end, strip.pixels);
}

}  // namespace

void map_rows_yuy2(const RectMapping& mapping) {
  each_strip(mapping, 2, [&](const Strip& strip) {
    PairColumns columns(mapping, strip);
    walk_lines(mapping, [&](const Line& line) {
      const bool run = has_interior_run(mapping, line);
      columns.sum_line(mapping.source, line, run);
      put_line(mapping, strip, line, run, columns);
    });
  });
}

}  // namespace dorbmp::mapping
