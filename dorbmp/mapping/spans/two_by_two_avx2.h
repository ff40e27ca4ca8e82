// What bilinear samplers of whole texels share.
#pragma once

#include "dorbmp/mapping/spans/ahead_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// Two by two texels of that size where the limits keep both inside the texture, as they nearly always do: a
// pixel's first texel is numbered in one multiplication.
template <int kTexel>
class TwoByTwo {
 public:
  // The limits lie between texels and between lines; the pitch is whole texels that fit a word.
  static bool serves(int32_t pitch, float u_max, float v_max) {
    const auto is_between = [](float limit) { return (static_cast<int32_t>(limit) & 0xFFFF) != 0; };
    return pitch % kTexel == 0 && pitch / kTexel == static_cast<int16_t>(pitch / kTexel) &&
           is_between(u_max) && is_between(v_max);
  }

 protected:
  TwoByTwo(const uint8_t* src, int32_t pitch)
      : above_(src),
        below_(src + pitch),
        texels_apart_(all(static_cast<int32_t>(static_cast<uint32_t>(pitch / kTexel) << 16 | 1u))) {}

  DORBMP_INLINE void place(int32_t (&texels)[kBlock], const PositionsAvx2& at) const {
    const __m256i column_and_line = _mm256_blend_epi16(_mm256_srli_epi32(at.u, 16), at.v, 0xAA);
    store(texels, _mm256_madd_epi16(column_and_line, texels_apart_));
  }

  DORBMP_INLINE void fetch_from(const int32_t (&texels)[kBlock], int64_t ahead) const {
    fetch(below_, int64_t{texels[0]} * kTexel + ahead);
  }

  const uint8_t* above_;
  const uint8_t* below_;

 private:
  __m256i texels_apart_;  // words 1 and the pitch
};

}  // namespace
}  // namespace dorbmp::spans::avx2
