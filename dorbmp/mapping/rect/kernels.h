// The inner loops of rectangle mapping: pointers, counts and weights. Every family gives the same bytes.
//
// A pixel's area sum is formed exactly, in three steps:
//
// - where several source lines have one weight they are added, byte by byte, into a row of words;
// - the samples under each pixel are weighed by the widths they share with it: a row of sums, which the lines
//   below can use again;
// - rows of sums are weighed by their heights, at most kMostRows of them, and become pixels: in 32 bits, at
//   most 255 * 2^23.
//
// Where the samples under every pixel weigh the same, across and down, it is a mean of so many bytes, a power
// of two, and all of it is done in words.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace dorbmp::mapping {

inline constexpr int32_t kPixelUnits = 4096;  // a destination pixel's width
inline constexpr int32_t kLineUnits = 2048;   // a destination line's height
inline constexpr int kWeightBits = 23;        // a wholly covered pixel weighs 2^23
inline constexpr uint32_t kFullWeight = uint32_t{1} << kWeightBits;

// Source lines that are added before they are weighed. So many bytes add up to a signed 16-bit factor.
inline constexpr int32_t kMostLines = 128;
struct LineBlock {
  const uint8_t* lines;
  ptrdiff_t pitch;
  int32_t count;  // 1 to kMostLines

  LineBlock from(ptrdiff_t byte) const { return {lines + byte, pitch, count}; }
};

// words[i]: byte i of the lines, added. Of pairs Y0 U Y1 V, luma and
// chroma apart.
using AddBytes = void(const LineBlock& block, int32_t bytes, uint16_t* words);
using AddPairs = void(const LineBlock& block, int32_t pairs, uint16_t* luma, uint16_t* chroma);

// The samples under each pixel of a strip, of some interleaved channels: the first, the inner ones, which are
// covered over their whole width, and the last.
//
// Vector kernels take the same in lanes of 32 bits, each of which adds the products of two neighbouring
// samples. A pixel has a lane for each channel, as often as fold says: the samples of one set of lanes follow
// those of the other. Four lanes pick theirs from eight words, loaded where the first pixel begins; where
// that is not enough the same is done again, a step further on.
template <int Channels>
struct Columns {
  static constexpr int32_t kMostPixels = Channels < 4 ? 512 : 384;
  static constexpr int kMostSteps = 2;
  static constexpr int kMostFold = Channels < 4 ? 4 / Channels : 2;

  int32_t pixels;  // rounded up to eight; those added weigh nothing
  uint32_t inner_weight;
  int32_t first[kMostPixels];  // in channels, from the row's beginning
  int32_t inner[kMostPixels];
  uint16_t first_weight[kMostPixels];
  uint16_t last_weight[kMostPixels];  // may be 0

  int fold;                                            // 1, 2 or 4; 0: too many samples for vectors
  int steps;                                           // 1 or 2
  uint32_t picks[Channels < 4 ? 2 * kMostPixels : 8];  // of the first eight lanes alone, where all are alike
  uint32_t weights[kMostSteps][kMostPixels * Channels * kMostFold];  // two of 16 bits
};

// What the samples of a row are: words of added lines, or those of one source line itself: its bytes, or of
// pairs Y0 U Y1 V, which are twice as far apart, luma or chroma.
enum class Samples { kWords, kBytes, kLuma, kChroma };
struct SampleRow {
  Samples samples;
  const void* row;
  ptrdiff_t next = 0;  // bytes from here to the source line below
};

// Behind a row of samples, so many bytes more may be read; they count for nothing.
inline constexpr int32_t kBytesBehind = 80;

// next_sums: null, or of a source line: those of the line below as well, which takes less time than one by
// one.
template <int Channels>
using SumColumns = void(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums,
                        uint32_t* next_sums);

// Rows of sums under a destination line, and their heights, together at most 2048.
inline constexpr int kMostRows = 3;
struct WeighedRows {
  int count;
  std::array<const uint32_t*, kMostRows> rows;
  std::array<uint32_t, kMostRows> weights;

  uint32_t at(int32_t i) const {
    uint32_t sum = rows[0][i] * weights[0];
    for (size_t n = 1; n < static_cast<size_t>(count); ++n) sum += rows[n][i] * weights[n];
    return sum;
  }
  WeighedRows from(int32_t i) const {
    WeighedRows rest = *this;
    for (size_t n = 0; n < static_cast<size_t>(count); ++n) rest.rows[n] += i;
    return rest;
  }
};

// Wholly covered pixels (or pairs) from their area sums.
using PutMono8 = void(const WeighedRows& sums, int32_t pixels, uint8_t* row);
using PutRgb32 = void(const WeighedRows& sums, int32_t pixels, uint8_t* row, uint16_t* cover);
using PutPairs = void(const WeighedRows& luma, const WeighedRows& chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover);

// Sums of so many bytes that they stay below 2^15.
inline constexpr int kMostMeanBits = 7;
// How pixels lie above samples that weigh the same, a power of two each: from one pixel's first sample to the
// next one's it is all of them, or 1.
struct MeanSamples {
  int count;
  int step;
};

// Wholly covered pixels, means over such samples of all lines, which begin with the first pixel's first
// sample. Of pairs, they begin with the pair of that sample; odd: it is the second one of it, where the step
// is 1.
using MeanMono8 = void(const LineBlock& block, MeanSamples samples, int32_t pixels, uint8_t* row);
using MeanRgb32 = void(const LineBlock& block, MeanSamples samples, int32_t pixels, uint8_t* row,
                       uint16_t* cover);
using MeanYuy2 = void(const LineBlock& block, MeanSamples samples, int odd, int32_t pairs, uint8_t* row,
                      uint16_t* cover);
namespace {  // files with different instruction sets must not share this
inline int mean_bits(const LineBlock& block, MeanSamples samples) {
  return std::countr_zero(static_cast<uint32_t>(block.count * samples.count));
}
}  // namespace

namespace plain {
AddBytes add_bytes;
AddPairs add_pairs;
SumColumns<1> sum_columns_1;
SumColumns<2> sum_columns_2;
SumColumns<4> sum_columns_4;
PutMono8 put_mono8;         // truncated
PutRgb32 put_rgb32;         // truncated; coverage becomes 4096, byte 3 stays
PutPairs put_yuy2_run;      // to nearest; coverage becomes 4096
PutPairs put_yuy2_blended;  // with what is there, by its coverage
MeanMono8 mean_mono8;       // as put_mono8
MeanRgb32 mean_rgb32;       // as put_rgb32
MeanYuy2 mean_yuy2;         // as put_yuy2_blended
}  // namespace plain

namespace avx2 {
AddBytes add_bytes;
AddPairs add_pairs;
SumColumns<1> sum_columns_1;
SumColumns<2> sum_columns_2;
SumColumns<4> sum_columns_4;
PutMono8 put_mono8;
PutRgb32 put_rgb32;
PutPairs put_yuy2_run, put_yuy2_blended;
MeanMono8 mean_mono8;
MeanRgb32 mean_rgb32;
MeanYuy2 mean_yuy2;
}  // namespace avx2

}  // namespace dorbmp::mapping
