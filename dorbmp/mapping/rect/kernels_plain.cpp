#include <algorithm>
#include <type_traits>

#include "dorbmp/compiler.h"
#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping::plain {
namespace {

constexpr int32_t kBlock = 64;  // bytes

// The first count words of a block.
DORBMP_INLINE void add_block(const LineBlock& block, int32_t from, int32_t count, uint16_t* words) {
  const uint8_t* line = block.lines + from;
  for (int32_t i = 0; i < count; ++i) words[i] = line[i];
  for (int32_t n = 1; n < block.count; ++n) {
    line += block.pitch;
    for (int32_t i = 0; i < count; ++i) words[i] = static_cast<uint16_t>(words[i] + line[i]);
  }
}

// step(words, from, count) for the bytes, a block at a time.
template <class Step>
DORBMP_INLINE void each_block(const LineBlock& block, int32_t bytes, Step step) {
  uint16_t words[kBlock];
  int32_t from = 0;
  for (; from + kBlock <= bytes; from += kBlock) {
    add_block(block, from, kBlock, words);
    step(words, from, kBlock);
  }
  add_block(block, from, bytes - from, words);
  step(words, from, bytes - from);
}

template <Samples kSamples>
DORBMP_INLINE uint32_t sample(const void* row, int32_t i) {
  if constexpr (kSamples == Samples::kWords) return static_cast<const uint16_t*>(row)[i];
  const auto bytes = static_cast<const uint8_t*>(row);
  if constexpr (kSamples == Samples::kBytes) return bytes[i];
  return bytes[2 * i + (kSamples == Samples::kChroma ? 1 : 0)];
}

template <Samples kSamples, int Channels>
void sum_columns(const Columns<Channels>& columns, const void* row, uint32_t* sums) {
  for (int32_t i = 0; i < columns.pixels; ++i, sums += Channels) {
    const int32_t first = columns.first[i], last = first + (columns.inner[i] + 1) * Channels;
    for (int c = 0; c < Channels; ++c) {
      sums[c] = sample<kSamples>(row, first + c) * columns.first_weight[i] +
                sample<kSamples>(row, last + c) * columns.last_weight[i];
    }
    for (int32_t at = first + Channels; at != last; at += Channels) {
      for (int c = 0; c < Channels; ++c) sums[c] += sample<kSamples>(row, at + c) * columns.inner_weight;
    }
  }
}

template <Samples kSamples, int Channels>
void sum_lines(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  sum_columns<kSamples>(columns, row.row, sums);
  if (next_sums != nullptr)
    sum_columns<kSamples>(columns, static_cast<const uint8_t*>(row.row) + row.next, next_sums);
}

// Area sums from a known number of rows, which stay in registers whatever is stored.
template <int kCount>
struct Area {
  const uint32_t* rows[kCount];
  uint32_t weights[kCount];

  explicit Area(const WeighedRows& sums) {
    std::copy_n(sums.rows.begin(), kCount, rows);
    std::copy_n(sums.weights.begin(), kCount, weights);
  }
  DORBMP_INLINE uint32_t at(int32_t i) const {
    uint32_t sum = rows[0][i] * weights[0];
    for (int n = 1; n < kCount; ++n) sum += rows[n][i] * weights[n];
    return sum;
  }
};

template <class Body>
DORBMP_INLINE void by_count(int count, Body body) {
  static_assert(kMostRows == 3);
  if (count == 1) return body(std::integral_constant<int, 1>());
  if (count == 2) return body(std::integral_constant<int, 2>());
  body(std::integral_constant<int, 3>());
}

}  // namespace

void add_bytes(const LineBlock& block, int32_t bytes, uint16_t* words) {
  each_block(block, bytes, [&](const uint16_t* sums, int32_t from, int32_t count) {
    for (int32_t i = 0; i < count; ++i) words[from + i] = sums[i];
  });
}

void add_pairs(const LineBlock& block, int32_t pairs, uint16_t* luma, uint16_t* chroma) {
  each_block(block, 4 * pairs, [&](const uint16_t* sums, int32_t from, int32_t count) {
    for (int32_t i = 0; i < count / 2; ++i) {
      luma[from / 2 + i] = sums[2 * i];
      chroma[from / 2 + i] = sums[2 * i + 1];
    }
  });
}

void sum_columns_1(const Columns<1>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  switch (row.samples) {
    case Samples::kBytes:
      return sum_lines<Samples::kBytes>(columns, row, sums, next_sums);
    case Samples::kLuma:
      return sum_lines<Samples::kLuma>(columns, row, sums, next_sums);
    default:
      return sum_columns<Samples::kWords>(columns, row.row, sums);
  }
}

void sum_columns_2(const Columns<2>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  row.samples == Samples::kChroma ? sum_lines<Samples::kChroma>(columns, row, sums, next_sums)
                                  : sum_columns<Samples::kWords>(columns, row.row, sums);
}

void sum_columns_4(const Columns<4>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  row.samples == Samples::kBytes ? sum_lines<Samples::kBytes>(columns, row, sums, next_sums)
                                 : sum_columns<Samples::kWords>(columns, row.row, sums);
}

void put_mono8(const WeighedRows& sums, int32_t pixels, uint8_t* row) {
  by_count(sums.count, [&](auto count) {
    const Area<count> area(sums);
    for (int32_t i = 0; i < pixels; ++i) row[i] = static_cast<uint8_t>(area.at(i) >> kWeightBits);
  });
}

void put_rgb32(const WeighedRows& sums, int32_t pixels, uint8_t* row, uint16_t* cover) {
  by_count(sums.count, [&](auto count) {
    const Area<count> area(sums);
    for (int32_t i = 0; i < pixels; ++i) {
      for (int c = 0; c < 3; ++c) row[4 * i + c] = static_cast<uint8_t>(area.at(4 * i + c) >> kWeightBits);
    }
  });
  std::fill_n(cover, pixels, static_cast<uint16_t>(kPixelUnits));
}

void put_yuy2_run(const WeighedRows& luma, const WeighedRows& chroma, int32_t pairs, uint8_t* row,
                  uint16_t* cover) {
  constexpr uint32_t kHalf = kFullWeight / 2;
  by_count(luma.count, [&](auto count) {
    const Area<count> y(luma), uv(chroma);
    for (int32_t i = 0; i < 2 * pairs; ++i) {
      const int32_t c = 4 * (i / 2) + i % 2;
      row[2 * i] = static_cast<uint8_t>((y.at(i) + kHalf) >> kWeightBits);
      row[2 * i + 1] = static_cast<uint8_t>((uv.at(c) + uv.at(c + 2) + 2 * kHalf) >> (kWeightBits + 1));
    }
  });
  std::fill_n(cover, 2 * pairs, static_cast<uint16_t>(kPixelUnits));
}

void put_yuy2_blended(const WeighedRows& luma, const WeighedRows& chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover) {
  by_count(luma.count, [&](auto count) {
    const Area<count> y(luma), uv(chroma);
    for (int32_t i = 0; i < 2 * pairs; ++i) {
      const uint32_t both[] = {uv.at(2 * i), uv.at(2 * i + 1)};
      blend_yuy2(y.at(i), both, kFullWeight, i % 2, row + 4 * (i / 2), cover + 2 * (i / 2));
    }
  });
}

}  // namespace dorbmp::mapping::plain
