#include "dorbmp/compiler.h"
#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping::plain {
namespace {

constexpr int32_t kBlock = 64;  // bytes

// Weights fit 16 bits: said so that vectors need not multiply wider.
DORBMP_INLINE uint32_t weighed(uint8_t byte, int16_t weight) {
  return static_cast<uint32_t>(int16_t{byte} * weight);
}

// The first count values of a block. At most 255 * 2^11.
DORBMP_INLINE void weigh_block(const LineTaps& taps, const uint8_t* line, int32_t count, uint32_t* values) {
  const auto weight = [](uint32_t value) { return static_cast<int16_t>(value); };
  for (int32_t i = 0; i < count; ++i) values[i] = weighed(line[i], weight(taps.first_weight));
  for (int32_t tap = 1; tap < taps.count; ++tap) {
    line += taps.pitch;
    const int16_t w = weight(tap == taps.count - 1 ? taps.last_weight : taps.inner_weight);
    for (int32_t i = 0; i < count; ++i) values[i] += weighed(line[i], w);
  }
}

// step(values, count) for the bytes, a block at a time.
template <class Step>
DORBMP_INLINE void weigh_lines(const LineTaps& taps, ptrdiff_t offset, int32_t bytes, Step step) {
  uint32_t values[kBlock];
  const uint8_t* line = taps.first + offset;
  for (; bytes >= kBlock; bytes -= kBlock, line += kBlock) {
    weigh_block(taps, line, kBlock, values);
    step(values, kBlock);
  }
  weigh_block(taps, line, bytes, values);
  step(values, bytes);
}

template <int Channels>
void mix(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
         int32_t first, uint32_t* mixed) {
  for (; count > 0; --count, ++samples, weights += 2 * Channels, mixed += Channels) {
    const uint32_t* value = values + (*samples - first) * Channels;
    for (int c = 0; c < Channels; ++c)
      mixed[c] = value[c] * weights[c] + value[c + Channels] * weights[c + Channels];
  }
}

}  // namespace

void weigh_bytes(const LineTaps& taps, ptrdiff_t offset, int32_t bytes, uint32_t* values) {
  weigh_lines(taps, offset, bytes, [&](const uint32_t* block, int32_t count) {
    for (int32_t i = 0; i < count; ++i) values[i] = block[i];
    values += count;
  });
}

void weigh_pairs(const LineTaps& taps, ptrdiff_t offset, int32_t pairs, uint32_t* luma, uint32_t* chroma) {
  weigh_lines(taps, offset, 4 * pairs, [&](const uint32_t* block, int32_t count) {
    for (int32_t i = 0; i < count / 2; ++i) {
      *luma++ = block[2 * i];
      *chroma++ = block[2 * i + 1];
    }
  });
}

void sum_1(const LineTaps& taps, ptrdiff_t offset, int32_t count, uint32_t* sums) {
  weigh_lines(taps, offset, count, [&](const uint32_t* block, int32_t bytes) {
    for (int32_t i = 0; i < bytes; ++i, ++sums) sums[1] = sums[0] + block[i];
  });
}

void sum_4(const LineTaps& taps, ptrdiff_t offset, int32_t count, uint32_t* sums) {
  weigh_lines(taps, offset, 4 * count, [&](const uint32_t* block, int32_t bytes) {
    for (int32_t i = 0; i < bytes; ++i, ++sums) sums[4] = sums[0] + block[i];
  });
}

void sum_pairs(const LineTaps& taps, ptrdiff_t offset, int32_t pairs, uint32_t* luma, uint32_t* chroma) {
  weigh_lines(taps, offset, 4 * pairs, [&](const uint32_t* block, int32_t count) {
    for (int32_t i = 0; i < count; i += 2, ++luma, ++chroma) {
      luma[1] = luma[0] + block[i];
      chroma[2] = chroma[0] + block[i + 1];
    }
  });
}

void mix_1(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
           int32_t first, uint32_t* mixed) {
  mix<1>(samples, weights, count, values, first, mixed);
}

void mix_2(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
           int32_t first, uint32_t* mixed) {
  mix<2>(samples, weights, count, values, first, mixed);
}

void mix_4(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
           int32_t first, uint32_t* mixed) {
  mix<4>(samples, weights, count, values, first, mixed);
}

void subtract(uint32_t* values, int32_t distance, int32_t count) {
  for (; count > 0; --count, ++values) *values = values[distance] - *values;
}

void put_mono8(const uint32_t* sums, int32_t pixels, uint8_t* row) {
  for (; pixels > 0; --pixels) *row++ = static_cast<uint8_t>(*sums++ >> kWeightBits);
}

void put_rgb32(const uint32_t* sums, int32_t pixels, uint8_t* row, uint16_t* cover) {
  for (; pixels > 0; --pixels, sums += 4, row += 4) {
    for (int c = 0; c < 3; ++c) row[c] = static_cast<uint8_t>(sums[c] >> kWeightBits);
    *cover++ = kPixelUnits;
  }
}

void put_yuy2_run(const uint32_t* luma, const uint32_t* chroma, int32_t pairs, uint8_t* row,
                  uint16_t* cover) {
  constexpr uint32_t kHalf = kFullWeight / 2;
  for (; pairs > 0; --pairs, luma += 2, chroma += 4, row += 4, cover += 2) {
    for (int i = 0; i < 2; ++i) {
      row[2 * i] = static_cast<uint8_t>((luma[i] + kHalf) >> kWeightBits);
      row[2 * i + 1] = static_cast<uint8_t>((chroma[i] + chroma[i + 2] + 2 * kHalf) >> (kWeightBits + 1));
      cover[i] = kPixelUnits;
    }
  }
}

void put_yuy2_blended(const uint32_t* luma, const uint32_t* chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover) {
  for (; pairs > 0; --pairs, luma += 2, chroma += 4, row += 4, cover += 2) {
    for (int i = 0; i < 2; ++i) blend_yuy2(luma[i], chroma + 2 * i, kFullWeight, i, row, cover);
  }
}

}  // namespace dorbmp::mapping::plain
