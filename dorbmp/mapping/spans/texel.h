// Texel formats: how to fetch one sample of a plane, and which planes make a texel.
//
// A plane loads the sample of a column of a line; kMax is its largest value. last_column is its last column
// where the texture's last texel is given.
#pragma once

#include <cstring>

#include "dorbmp/mapping/spans/footprint.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

// One byte of every texel of kBytes bytes.
template <int kBytes, int kByte>
struct BytePlane {
  static constexpr uint32_t kMax = 255;
  static uint32_t load(const uint8_t* line, int32_t column) {
    return line[static_cast<ptrdiff_t>(column) * kBytes + kByte];
  }
  static int32_t last_column(int32_t last_texel) { return last_texel; }
};

// The four bytes of a 32-bit texel, all alike.
struct Rgb32 {
  static const uint8_t* address(const uint8_t* line, int32_t column) {
    return line + static_cast<ptrdiff_t>(column) * 4;
  }

  template <class Footprint, int kByte>
  DORBMP_INLINE static uint32_t sample(const typename Footprint::Texture& texture, Position at) {
    return Footprint::template sample<BytePlane<4, kByte>>(texture, at);
  }
};

// Packed 4:2:2. Luma is a plane of texels, chroma a plane with a column for each pair of texels.
struct Yuy2 {
  enum Channel { kY = 0, kU = 1, kV = 3 };

  // A filter of a pair's width and less: every texel carries its pair's chroma.
  template <int kByte>
  struct TexelChroma {
    static constexpr uint32_t kMax = 255;
    static uint32_t load(const uint8_t* line, int32_t column) {
      return line[static_cast<ptrdiff_t>(column & ~1) * 2 + kByte];
    }
  };

  template <int kByte>
  struct PairChroma : BytePlane<4, kByte> {
    static int32_t last_column(int32_t last_texel) { return last_texel / 2; }
  };

  template <class Footprint, int kByte>
  DORBMP_INLINE static uint32_t sample(const typename Footprint::Texture& texture, Position at) {
    if constexpr (kByte == kY) {
      return Footprint::template sample<BytePlane<2, kY>>(texture, at);
    } else if constexpr (Footprint::kPairwise) {
      return Footprint::Chroma::template sample<PairChroma<kByte>>(texture, {at.u >> 1, at.v});
    } else {
      return Footprint::template sample<TexelChroma<kByte>>(texture, at);
    }
  }
};

struct Key16 {
  struct Plane {
    static constexpr uint32_t kMax = 65535;
    static uint32_t load(const uint8_t* line, int32_t column) {
      uint16_t key;
      std::memcpy(&key, line + static_cast<ptrdiff_t>(column) * 2, sizeof(key));
      return key;
    }
    static int32_t last_column(int32_t last_texel) { return last_texel; }
  };

  template <class Footprint, int>
  DORBMP_INLINE static uint32_t sample(const typename Footprint::Texture& texture, Position at) {
    return Footprint::template sample<Plane>(texture, at);
  }
};

struct Matte8 {
  template <class Footprint, int>
  DORBMP_INLINE static uint32_t sample(const typename Footprint::Texture& texture, Position at) {
    return Footprint::template sample<BytePlane<1, 0>>(texture, at);
  }
};

}  // namespace
}  // namespace dorbmp::spans
