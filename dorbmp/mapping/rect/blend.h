// What a painted pixel becomes of its area sum and of what it held.
#pragma once

#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping {
namespace {  // files with different instruction sets must not share this

// Coverage samples are on the scale 4096, weights on 4096 * 2048.
constexpr int kCoverageBits = 11;

// The mean of a sum and an old value by weight, truncated. coverage: of the old value; one sample's for luma,
// two together for the chroma that they share. A repainted pixel's sum can pass 32 bits.
inline uint8_t blend(uint32_t sum, uint32_t weight, uint8_t old, uint32_t coverage) {
  const uint32_t there = coverage << kCoverageBits;
  if (weight != kFullWeight) return static_cast<uint8_t>((sum + uint64_t{old} * there) / (weight + there));
  if (coverage == 0) return static_cast<uint8_t>(sum >> kWeightBits);
  // Both sides without their low bits, which do not count.
  return static_cast<uint8_t>(((sum >> kCoverageBits) + old * coverage) / (kPixelUnits + coverage));
}

// Wraps at 16 bits, where a pixel has been painted sixteen times.
inline uint16_t painted(uint32_t coverage, uint32_t weight) {
  return static_cast<uint16_t>(coverage + (weight >> kCoverageBits));
}

// One pixel of a pair Y0 U Y1 V: its own luma, and the chroma of both. The chroma is blended with the
// coverage of both as it stands, the first pixel's new one when the second is drawn.
inline void blend_yuy2(uint32_t luma, const uint32_t chroma[2], uint32_t weight, int odd, uint8_t* pair,
                       uint16_t* cover) {
  const uint32_t both = uint32_t{cover[0]} + cover[1];
  pair[2 * odd] = blend(luma, weight, pair[2 * odd], cover[odd]);
  pair[1] = blend(chroma[0], weight, pair[1], both);
  pair[3] = blend(chroma[1], weight, pair[3], both);
  cover[odd] = painted(cover[odd], weight);
}

}  // namespace
}  // namespace dorbmp::mapping
