// The inner loops of rectangle mapping: pointers, counts and weights. Every family gives the same bytes.
//
// The lines under a destination line are weighed into one row of values, at most 255 * 2048 each. Across that
// row, exactly and in 32 bits:
//
// - Where a source pixel is as wide as a destination pixel or wider, a pixel's area sum is a mix of two
//   neighbouring values.
// - Elsewhere it is the difference of an integral at its two edges. The integral is the running sum of the
//   values, straight between the source pixels' own edges: again a mix of two neighbours, however many source
//   pixels lie under one. It wraps, the differences do not: none exceeds 255 * 2^23.
#pragma once

#include <cstddef>
#include <cstdint>

namespace dorbmp::mapping {

inline constexpr int32_t kPixelUnits = 4096;  // a destination pixel's width
inline constexpr int32_t kLineUnits = 2048;   // a destination line's height
inline constexpr int kWeightBits = 23;        // a wholly covered pixel weighs 2^23
inline constexpr uint32_t kFullWeight = uint32_t{1} << kWeightBits;

// The source lines under a destination line and their overlaps, together at most 2048. All but the first and
// the last are covered over their whole height.
struct LineTaps {
  const uint8_t* first;
  ptrdiff_t pitch;
  int32_t count;
  uint32_t first_weight;
  uint32_t inner_weight;
  uint32_t last_weight;
};

// values[i]: byte i from the offset on, weighed over the lines. Of pairs Y0 U Y1 V, luma and chroma apart.
using WeighBytes = void(const LineTaps& taps, ptrdiff_t offset, int32_t bytes, uint32_t* values);
using WeighPairs = void(const LineTaps& taps, ptrdiff_t offset, int32_t pairs, uint32_t* luma,
                        uint32_t* chroma);

// Running sums of such values over count samples (or pairs) from the offset on, of as many interleaved
// channels as a sample has bytes: the first sample's are given, the sums up to each sample's end follow. Of
// pairs, luma has two a pair and chroma two channels.
using SumSamples = void(const LineTaps& taps, ptrdiff_t offset, int32_t count, uint32_t* sums);
using SumPairs = void(const LineTaps& taps, ptrdiff_t offset, int32_t pairs, uint32_t* luma,
                      uint32_t* chroma);

// mixed = values[sample] * weight + values[sample + 1] * weight', sample counted from first on; weights are
// given for each of the interleaved channels, the first samples' and then the second's. Up to kMixReach
// values beyond the last one may be read.
using Mix = void(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
                 int32_t first, uint32_t* mixed);
inline constexpr int32_t kMixReach = 8;

// values[i] becomes values[i + distance] - values[i].
using Subtract = void(uint32_t* values, int32_t distance, int32_t count);

// Wholly covered pixels (or pairs) from their area sums.
using PutMono8 = void(const uint32_t* sums, int32_t pixels, uint8_t* row);
using PutRgb32 = void(const uint32_t* sums, int32_t pixels, uint8_t* row, uint16_t* cover);
using PutPairs = void(const uint32_t* luma, const uint32_t* chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover);

namespace plain {
WeighBytes weigh_bytes;
WeighPairs weigh_pairs;
SumSamples sum_1, sum_4;
SumPairs sum_pairs;
Mix mix_1, mix_2, mix_4;
Subtract subtract;
PutMono8 put_mono8;         // truncated
PutRgb32 put_rgb32;         // truncated; coverage becomes 4096, byte 3 stays
PutPairs put_yuy2_run;      // to nearest; coverage becomes 4096
PutPairs put_yuy2_blended;  // with what is there, by its coverage
}  // namespace plain

namespace avx2 {
WeighBytes weigh_bytes;
WeighPairs weigh_pairs;
SumSamples sum_1, sum_4;
SumPairs sum_pairs;
Mix mix_1, mix_2, mix_4;
Subtract subtract;
PutMono8 put_mono8;
PutRgb32 put_rgb32;
PutPairs put_yuy2_run, put_yuy2_blended;
}  // namespace avx2

}  // namespace dorbmp::mapping
