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

struct PairPlanes {
  static constexpr int32_t kMostPixels = Columns<1>::kMostPixels;
  static constexpr int32_t kChroma = kMostPixels, kRunChroma = 3 * kMostPixels;  // where they are in a row
  static constexpr int32_t kSums = 5 * kMostPixels;

  Columns<1> luma;
  Columns<2> chroma;  // of source pairs, twice as wide
  // The interior run walks the source pairs in half units: its pixels begin on even units. Where the others
  // do so too, they serve the run as well.
  Columns<2> run_chroma;
  bool run_is_shifted;
  ptrdiff_t offset;
  int32_t pairs;
  uint16_t luma_words[most_samples(2) + kWordsBehind];
  uint16_t chroma_words[most_samples(2) + kWordsBehind];

  PairPlanes(const RectMapping& mapping, const Strip& strip) {
    const int64_t source_pairs = (mapping.source.columns + 1) / 2;
    const SampleScale in_pairs = {2 * mapping.scale, source_pairs};
    SampleRange range = set_columns(chroma, mapping, strip, in_pairs);
    set_columns(luma, mapping, strip, {mapping.scale, mapping.source.columns}, 2 * range.first);
    run_is_shifted = ((mapping.position + mapping.edge(1)) & 1) != 0;
    if (run_is_shifted) {
      const SampleScale shifted = {in_pairs.scale, in_pairs.count, 1};
      range.end = set_columns(run_chroma, mapping, strip, shifted, range.first).end;
    }
    offset = ptrdiff_t{range.first} * 4;
    pairs = range.end - range.first;
    std::fill_n(luma_words + 2 * pairs, kWordsBehind, uint16_t{0});
    std::fill_n(chroma_words + 2 * pairs, kWordsBehind, uint16_t{0});
  }

  void sum(LineBlock block, bool as_it_is, uint32_t* sums, uint32_t* next_sums) {
    block.lines += offset;
    SampleRow y = {Samples::kLuma, block.lines, block.pitch},
              uv = {Samples::kChroma, block.lines, block.pitch};
    if (!as_it_is) {
      rect_kernels.add_pairs(block, pairs, luma_words, chroma_words);
      y = {Samples::kWords, luma_words};
      uv = {Samples::kWords, chroma_words};
    }
    const auto from = [&](int32_t plane) { return next_sums != nullptr ? next_sums + plane : nullptr; };
    rect_kernels.sum_columns_1(luma, y, sums, from(0));
    rect_kernels.sum_columns_2(chroma, uv, sums + kChroma, from(kChroma));
    if (run_is_shifted) rect_kernels.sum_columns_2(run_chroma, uv, sums + kRunChroma, from(kRunChroma));
  }
};

// The source under a run's last pairs, as many as vectors take. Of the pair that ends it, the second sample
// repeats the first, or if all of it is outside, the sample before.
struct LastPairs {
  static constexpr int32_t kMost = 8;
  static constexpr int32_t kPitch = 4 * (kMost + 1);
  uint8_t bytes[kPitch << kMostMeanBits];
  LineBlock block;

  LastPairs(const LineBlock& of, int odd, int32_t pairs) : block{bytes, kPitch, of.count} {
    for (int32_t n = 0; n < of.count; ++n) {
      uint8_t* const line = bytes + n * kPitch;
      uint8_t* const end = line + 4 * pairs;
      std::copy_n(of.lines + n * of.pitch, 4 * (pairs + odd), line);
      if (odd == 0) std::copy_n(end - 4, 4, end);
      odd != 0 ? end[2] = end[0] : end[0] = end[-2];
    }
  }
};

void put_line(const RectMapping& mapping, const Strip& strip, const Line& line, const WeighedRows& luma,
              bool run_is_shifted) {
  const PaintedRow at(mapping, line, strip.column, 2);
  uint8_t* const row = at.row;
  uint16_t* const cover = at.cover;
  prefetch_destination(row + mapping.pitch, strip.pixels * 2);
  prefetch_destination(cover + mapping.cover_pitch, strip.pixels * 2);
  const WeighedRows chroma = luma.from(PairPlanes::kChroma);
  const auto put_pixels = [&](int32_t from, int32_t to) {
    for (int32_t i = from; i < to; ++i) {
      const uint32_t weight = mapping.pixel_width(strip.first + i) * static_cast<uint32_t>(line.height);
      const int odd = (strip.column + i) & 1;
      const uint32_t both[] = {chroma.at(2 * i), chroma.at(2 * i + 1)};
      blend_yuy2(luma.at(i), both, weight, odd, row + 2 * (i - odd), cover + i - odd);
    }
  };
  // A line's first pixel is blended even where a run follows.
  const bool run = has_interior_run(mapping, line);
  PixelRange pairs = {};
  if (line.height == kLineUnits) {
    pairs = strip.clip(mapping.whole_pairs(run ? 1 : mapping.whole_pixels().first));
  }
  const int32_t first = pairs.first;
  const WeighedRows run_chroma = run_is_shifted ? luma.from(PairPlanes::kRunChroma) : chroma;
  put_pixels(0, first);
  if (run) {
    rect_kernels.put_yuy2_run(luma.from(first), run_chroma.from(2 * first), (pairs.end - first) / 2,
                              row + 2 * first, cover + first);
  } else {
    rect_kernels.put_yuy2_blended(luma.from(first), chroma.from(2 * first), (pairs.end - first) / 2,
                                  row + 2 * first, cover + first);
  }
  put_pixels(pairs.end, strip.pixels);
}

}  // namespace

void map_rows_yuy2(const RectMapping& mapping) {
  const auto weigh = [&](const Strip& strip, Lines lines) {
    PairPlanes planes(mapping, strip);
    SumRows<PairPlanes> sums(mapping, planes);
    walk_lines(mapping, lines, [&](const Line& line) {
      put_line(mapping, strip, line, sums.under(line), planes.run_is_shifted);
    });
  };
  const auto means = [&](const MeanRun& run) {
    const int odd = run.first % 2;
    return walk_means(mapping, [&](const Line& line, const MeanLines& lines) {
      const MeanLine under(mapping, run, lines, 2, 2);
      const auto [row, cover] = PaintedRow(mapping, line, mapping.across.first + run.pixels.first, 2);
      const int32_t rest =
          under.rest == 0 ? 0 : std::min(run.pixels.end - run.pixels.first, 2 * LastPairs::kMost);
      const int32_t inside = under.inside + under.rest - rest;
      rect_kernels.mean_yuy2(under.block, run.samples, odd, inside / 2, row, cover);
      if (rest == 0) return;
      const LastPairs last(under.block.from(2 * inside), odd, rest / 2);
      rect_kernels.mean_yuy2(last.block, run.samples, odd, rest / 2, row + 2 * inside, cover + inside);
    });
  };
  each_part(mapping, 2, 2, weigh, means);
}

}  // namespace dorbmp::mapping
