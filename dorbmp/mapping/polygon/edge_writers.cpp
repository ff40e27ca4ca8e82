#include "dorbmp/mapping/polygon/edge_writers.h"

#include <cstring>

namespace dorbmp::mapping {
namespace {

// How much the sample and the old value count.
struct Share {
  uint32_t sample;
  uint32_t old;
  uint32_t half;  // of their sum where the mix is rounded, else 0

  uint32_t mix(uint32_t new_value, uint32_t old_value) const {
    return (new_value * sample + old_value * old + half) / (sample + old);
  }
};

// A coverage on a plane's scale, to nearest: the shares of two polygons along an edge add up to no less than
// full.
template <uint32_t kFull>
uint32_t scaled(uint32_t coverage) {
  constexpr uint32_t kUnits = kFullCoverage / kFull;
  return (coverage + kUnits / 2) / kUnits;
}

struct NoPlane {
  static Share share(uint8_t*, int32_t, uint32_t coverage) {
    const uint32_t sample = scaled<kFullKey>(coverage);
    return {sample, kFullKey - sample, kFullKey / 2};
  }
};

template <class Word, uint32_t kFull>
struct Plane {
  static Share share(uint8_t* cover, int32_t x, uint32_t coverage) {
    uint8_t* const address = cover + static_cast<ptrdiff_t>(x) * static_cast<ptrdiff_t>(sizeof(Word));
    Word painted;
    std::memcpy(&painted, address, sizeof(painted));
    const uint32_t sample = scaled<kFull>(coverage);
    const Word sum = static_cast<Word>(std::min(sample + painted, kFull));
    std::memcpy(address, &sum, sizeof(sum));
    return {sample, painted, 0};
  }
};
using Plane8 = Plane<uint8_t, kFullKey8>;
using Plane16 = Plane<uint16_t, kFullKey>;

void mix_byte(uint8_t& old, uint8_t sample, const Share& share) {
  old = static_cast<uint8_t>(share.mix(sample, old));
}

struct Rgb32Pixel {
  static void mix(uint8_t* row, const uint8_t* samples, int32_t x, int32_t base, const Share& share) {
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 4;
    const uint8_t* const sample = samples + (x - base) * 4;
    for (int byte = 0; byte < 4; ++byte) mix_byte(pixel[byte], sample[byte], share);
  }
};

struct Yuy2Pixel {
  static void mix(uint8_t* row, const uint8_t* samples, int32_t x, int32_t base, const Share& share) {
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 2;
    const uint8_t* const sample = samples + (x - base) * 2;
    mix_byte(pixel[0], sample[0], share);
    if (x % 2 != 0) return;
    mix_byte(pixel[1], sample[1], share);
    mix_byte(pixel[3], sample[3], share);
  }
};

struct Key16Pixel {
  static void mix(uint8_t* row, const uint8_t* samples, int32_t x, int32_t base, const Share& share) {
    uint16_t old, sample;
    uint8_t* const pixel = row + static_cast<ptrdiff_t>(x) * 2;
    std::memcpy(&old, pixel, sizeof(old));
    std::memcpy(&sample, samples + (x - base) * 2, sizeof(sample));
    old = static_cast<uint16_t>(share.mix(sample, old));
    std::memcpy(pixel, &old, sizeof(old));
  }
};

template <class Pixel, class PlaneBeside>
void write_edge(uint8_t* row, uint8_t* cover, const uint8_t* samples, const uint16_t* coverage, int32_t base,
                int32_t first, int32_t end) {
  for (int32_t x = first; x < end; ++x) {
    if (coverage[x - base] == 0) continue;
    const Share share = PlaneBeside::share(cover, x, coverage[x - base]);
    if (share.sample != 0) Pixel::mix(row, samples, x, base, share);
  }
}

template <class Pixel>
EdgeWriter* with_plane(const CoveragePlane& plane) {
  if (!plane.is_given()) return write_edge<Pixel, NoPlane>;
  return plane.is_8_bit() ? write_edge<Pixel, Plane8> : write_edge<Pixel, Plane16>;
}

}  // namespace

EdgeWriter* edge_writer(uint32_t format, const CoveragePlane& plane) {
  switch (format) {
    case BMP_FORMAT_YUY2:
      return with_plane<Yuy2Pixel>(plane);
    case BMP_FORMAT_RGB32:
      return with_plane<Rgb32Pixel>(plane);
    case BMP_FORMAT_KEY16:
      return write_edge<Key16Pixel, NoPlane>;
    default:
      return nullptr;
  }
}

}  // namespace dorbmp::mapping
