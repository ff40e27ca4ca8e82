// Means of samples that weigh the same, in plain loops: what the general rule gives, without its products.
#include <algorithm>

#include "dorbmp/compiler.h"
#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping::plain {
namespace {

// Samples that are worked on at a time. A last pixel may have one more, and a pair another.
constexpr int32_t kSamples = 512;
template <int Channels>
using Words = uint16_t[(kSamples + 2) * Channels];

// words[i] = words[Step * i] + words[Step * i + 1]: by way of a block that shares no memory with them, which
// compilers want to see.
template <int Channels, int Step>
DORBMP_INLINE void add_neighbours(uint16_t* words, int32_t count) {
  constexpr int32_t kBlock = 64 / Channels;
  uint16_t sums[kBlock * Channels];
  const uint16_t* from = words;
  const auto add = [&](int32_t samples) {
    for (int32_t i = 0; i < samples; ++i) {
      for (int c = 0; c < Channels; ++c) {
        const uint16_t* pair = from + Step * i * Channels + c;
        sums[i * Channels + c] = static_cast<uint16_t>(pair[0] + pair[Channels]);
      }
    }
    std::copy_n(sums, samples * Channels, words);
    from += Step * samples * Channels;
    words += samples * Channels;
  };
  for (; count >= kBlock; count -= kBlock) add(kBlock);
  add(count);
}

// The samples of each pixel, added.
template <int Channels>
DORBMP_INLINE void add_samples(uint16_t* words, MeanSamples samples, int32_t pixels) {
  if (samples.step == 1) {
    if (samples.count == 2) add_neighbours<Channels, 1>(words, pixels);
  } else {
    for (int n = samples.count / 2; n > 0; n /= 2) add_neighbours<Channels, 2>(words, pixels * n);
  }
}

// put(sums, from, pixels) for the pixels, some at a time.
template <int Channels, class Put>
DORBMP_INLINE void each_sum(const LineBlock& block, MeanSamples samples, int32_t pixels, Put put) {
  Words<Channels> words;
  const int32_t most = kSamples / samples.step;
  for (int32_t from = 0; from < pixels; from += most) {
    const int32_t count = std::min(pixels - from, most);
    add_bytes(block.from(ptrdiff_t{from} * samples.step * Channels),
              ((count - 1) * samples.step + samples.count) * Channels, words);
    add_samples<Channels>(words, samples, count);
    put(words, from, count);
  }
}

// Sums of 2^bits bytes each.
struct Sums {
  const uint16_t* words;
  int bits;

  uint32_t area_sum(int32_t i) const { return uint32_t{words[i]} << (kWeightBits - bits); }
};

// The chroma of the first and the second pixel of a pair, each so many words from one pair to the next.
void blend_pairs(Sums luma, Sums first, Sums second, int32_t chroma_step, int32_t pairs, uint8_t* row,
                 uint16_t* cover) {
  for (int32_t i = 0; i < pairs; ++i) {
    for (int odd = 0; odd < 2; ++odd) {
      const Sums& chroma = odd == 0 ? first : second;
      const int32_t at = chroma_step * i;
      const uint32_t both[] = {chroma.area_sum(at), chroma.area_sum(at + 1)};
      blend_yuy2(luma.area_sum(2 * i + odd), both, kFullWeight, odd, row + 4 * i, cover + 2 * i);
    }
  }
}

}  // namespace

void mean_mono8(const LineBlock& block, MeanSamples samples, int32_t pixels, uint8_t* row) {
  const int bits = mean_bits(block, samples);
  each_sum<1>(block, samples, pixels, [&](const uint16_t* words, int32_t from, int32_t count) {
    for (int32_t i = 0; i < count; ++i) row[from + i] = static_cast<uint8_t>(words[i] >> bits);
  });
}

void mean_rgb32(const LineBlock& block, MeanSamples samples, int32_t pixels, uint8_t* row, uint16_t* cover) {
  const int bits = mean_bits(block, samples);
  each_sum<4>(block, samples, pixels, [&](const uint16_t* words, int32_t from, int32_t count) {
    uint8_t* colors = row + 4 * from;
    for (int32_t i = 0; i < count; ++i) {
      for (int c = 0; c < 3; ++c) colors[4 * i + c] = static_cast<uint8_t>(words[4 * i + c] >> bits);
    }
  });
  std::fill_n(cover, pixels, static_cast<uint16_t>(kPixelUnits));
}

void mean_yuy2(const LineBlock& block, MeanSamples samples, int odd, int32_t pairs, uint8_t* row,
               uint16_t* cover) {
  Words<1> luma, chroma, both_words;
  const int bits = mean_bits(block, samples), half_bits = bits - (samples.count > 1 ? 1 : 0);
  const Sums y = {luma + odd, bits}, own = {chroma, half_bits}, next = {chroma + 2, half_bits};
  const int32_t most = kSamples / samples.step / 2;
  for (int32_t from = 0; from < pairs; from += most) {
    const int32_t count = std::min(pairs - from, most);
    const int32_t source_pairs = (odd + (2 * count - 1) * samples.step + samples.count + 1) / 2;
    add_pairs(block.from(ptrdiff_t{from} * samples.step * 4), source_pairs, luma, chroma);
    add_samples<1>(luma + odd, samples, 2 * count);
    const auto blend = [&](const Sums& first, const Sums& second, int32_t chroma_step) {
      blend_pairs(y, first, second, chroma_step, count, row + 4 * from, cover + 2 * from);
    };
    if (samples.step > 1) {
      // Of whole pairs there are half as many.
      if (samples.count > 2) add_samples<2>(chroma, {samples.count / 2, samples.step / 2}, 2 * count);
      blend(own, next, 4);
    } else if (samples.count == 1) {
      blend(own, odd != 0 ? next : own, 2);
    } else {
      std::copy_n(chroma, 2 * source_pairs, both_words);
      add_neighbours<2, 1>(both_words, count);
      const Sums both = {both_words, bits};
      odd != 0 ? blend(both, next, 2) : blend(own, both, 2);
    }
  }
}

}  // namespace dorbmp::mapping::plain
