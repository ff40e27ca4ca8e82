// What becomes of a sample: how each destination format takes it. A writer asks the sample for the channels
// it needs, and for no others.
#pragma once

#include <cstring>

#include "dorbmp/mapping/spans/texel.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

DORBMP_INLINE uint8_t low_byte(uint32_t value) {
  return static_cast<uint8_t>(value);
}

struct PutRgb32 {
  template <class Sample>
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Sample& sample) const {
    uint32_t pixel;
    if constexpr (Sample::kUnfiltered) {
      std::memcpy(&pixel, sample.texel(), sizeof(pixel));
    } else {
      pixel = sample.template channel<0>() | sample.template channel<1>() << 8 |
              sample.template channel<2>() << 16 | sample.template channel<3>() << 24;
    }
    std::memcpy(row + static_cast<ptrdiff_t>(x) * 4, &pixel, sizeof(pixel));
  }
};

// An even pixel brings its pair's chroma along, an odd one changes its luma alone.
struct PutYuy2 {
  template <class Sample>
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Sample& sample) const {
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 2;
    if (x % 2 != 0) {
      pixel[0] = low_byte(sample.template channel<Yuy2::kY>());
      return;
    }
    const uint32_t y = sample.template channel<Yuy2::kY>();
    const uint32_t u = sample.template channel<Yuy2::kU>();
    const uint32_t v = sample.template channel<Yuy2::kV>();
    pixel[0] = low_byte(y);
    pixel[1] = low_byte(u);
    pixel[3] = low_byte(v);
  }
};

struct PutKey16 {
  template <class Sample>
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Sample& sample) const {
    const uint16_t key = static_cast<uint16_t>(sample.template channel<0>());
    std::memcpy(row + static_cast<ptrdiff_t>(x) * 2, &key, sizeof(key));
  }
};

// A colour through the sample as its opacity. Bits 0..7 go to byte 0, and so on; byte 3 stays.
class FillRgb32 {
 public:
  explicit FillRgb32(uint32_t color) : color_(color) {}

  template <class Sample>
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Sample& sample) const {
    const uint32_t opacity = sample.template channel<0>();
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 4;
    for (int byte = 0; byte < 3; ++byte) {
      const uint32_t component = color_ >> (8 * byte) & 255;
      pixel[byte] = low_byte((pixel[byte] * (255 - opacity) + opacity * component) / 255);
    }
  }

 private:
  uint32_t color_;
};

// Y, U, V in bits 16, 8, 0 and up. The quotient is by 256, so full opacity stays one below the colour; an
// opacity of 0 leaves the pixel alone.
class FillYuy2 {
 public:
  explicit FillYuy2(uint32_t color) : color_(color) {}

  template <class Sample>
  DORBMP_INLINE void put(uint8_t* row, int32_t x, const Sample& sample) const {
    const uint32_t opacity = sample.template channel<0>();
    if (opacity == 0) return;
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 2;
    blend(pixel[0], opacity, color_ >> 16 & 255);
    if (x % 2 != 0) return;
    blend(pixel[1], opacity, color_ >> 8 & 255);
    blend(pixel[3], opacity, color_ & 255);
  }

 private:
  DORBMP_INLINE static void blend(uint8_t& byte, uint32_t opacity, uint32_t component) {
    byte = low_byte((byte * (255 - opacity) + opacity * component) >> 8);
  }

  uint32_t color_;
};

}  // namespace
}  // namespace dorbmp::spans
