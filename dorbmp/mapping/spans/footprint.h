// The area of the texture that one pixel takes in: a single texel, or a box whose sides are given in half
// texels, so that 1, 1.5, 2, 3, 4 and 8 texels are 2, 3, 4, 6, 8 and 16.
//
// A box begins at the sample's 7-bit fraction; a texel's weight is the length of its overlap with the box in
// 1/128 texel, a line's likewise, and the sum of the products is divided exactly and rounded to nearest.
//
// A footprint asks a plane (texel.h) for its taps. Taps are fold expressions over an index sequence, one
// channel at a time: as loops over taps at run time the same formula takes four times as long, with an array
// of channel sums twice as long.
#pragma once

#include <algorithm>
#include <bit>
#include <utility>

#include "dorbmp/compiler.h"
#include "dorbmp/mapping/spans/span_types.h"
#include "dorbmp/mapping/spans/walk.h"

namespace dorbmp::spans {
namespace {  // files with different instruction sets must not share these

struct Texture {
  const uint8_t* src;
  int32_t pitch;

  Texture(const uint8_t* lines, int32_t bytes) : src(lines), pitch(bytes) {}

  const uint8_t* line(int32_t j) const {
    return src + static_cast<ptrdiff_t>(j) * static_cast<ptrdiff_t>(pitch);
  }
};

// The 7-bit fraction of a coordinate.
DORBMP_INLINE int32_t fraction(int32_t coordinate) {
  return coordinate >> 9 & 127;
}

// The box [f, f + 64 * HalfUnits) in tap K, in 1/128 of a tap.
template <int HalfUnits, int K>
DORBMP_INLINE uint32_t tap_weight(int32_t f) {
  constexpr int kLast = (HalfUnits + 1) / 2;
  if constexpr (HalfUnits % 2 == 0) {
    return static_cast<uint32_t>(K == 0 ? 128 - f : K == kLast ? f : 128);
  } else {
    const int32_t overlap = std::min(f + 64 * HalfUnits, 128 * (K + 1)) - std::max(f, 128 * K);
    return static_cast<uint32_t>(std::max(overlap, 0));
  }
}

// The tap's distance from the first one. At a limit the last tap may lie outside the texture, with no weight:
// its neighbour is read in its place.
template <int HalfUnits, int K>
DORBMP_INLINE int32_t tap_offset(int32_t f) {
  if constexpr (K == (HalfUnits + 1) / 2) {
    return tap_weight<HalfUnits, K>(f) != 0 ? K : K - 1;
  } else {
    return K;
  }
}

// round(total / Divisor), in 32 bits: the quotient by the power of two comes first.
template <uint32_t Divisor, class Sum>
DORBMP_INLINE uint32_t divide_to_nearest(Sum total) {
  constexpr int kShift = std::countr_zero(Divisor);
  return static_cast<uint32_t>((total + Divisor / 2) >> kShift) / (Divisor >> kShift);
}

struct Nearest {
  using Texture = spans::Texture;
  using Chroma = Nearest;
  static constexpr bool kPairwise = false;

  template <class Plane>
  DORBMP_INLINE static uint32_t sample(const Texture& texture, Position at) {
    return Plane::load(texture.line(at.v >> 16), at.u >> 16);
  }
};

template <int HalfWidth, int HalfHeight>
struct Box {
  using Texture = spans::Texture;
  // The same area of a plane with half as many columns.
  using Chroma = Box<HalfWidth / 2, HalfHeight>;
  static constexpr bool kPairwise = HalfWidth != 2 || HalfHeight != 2;

  static constexpr uint32_t kDivisor = 64u * HalfWidth * 64u * HalfHeight;
  using Columns = std::make_integer_sequence<int, (HalfWidth + 1) / 2 + 1>;
  using Lines = std::make_integer_sequence<int, (HalfHeight + 1) / 2 + 1>;

  template <class Plane>
  DORBMP_INLINE static uint32_t sample(const Texture& texture, Position at) {
    return divide_to_nearest<kDivisor>(total<Plane>(texture, at, Lines{}));
  }

 private:
  template <class Plane>
  using Sum =
      std::conditional_t<(uint64_t{Plane::kMax} * kDivisor + kDivisor / 2 > UINT32_MAX), uint64_t, uint32_t>;

  template <class Plane, int... L>
  DORBMP_INLINE static auto total(const Texture& texture, Position at, std::integer_sequence<int, L...>) {
    const int32_t fy = fraction(at.v);
    const uint8_t* const top = texture.line(at.v >> 16);
    const auto line = [&](int32_t offset) {
      return top + static_cast<ptrdiff_t>(offset) * static_cast<ptrdiff_t>(texture.pitch);
    };
    return ((Sum<Plane>{across<Plane>(line(tap_offset<HalfHeight, L>(fy)), at.u, Columns{})} *
             tap_weight<HalfHeight, L>(fy)) +
            ...);
  }

  // At most 65535 * 1024.
  template <class Plane, int... K>
  DORBMP_INLINE static uint32_t across(const uint8_t* line, int32_t u, std::integer_sequence<int, K...>) {
    const int32_t fx = fraction(u);
    const int32_t column = u >> 16;
    return ((Plane::load(line, column + tap_offset<HalfWidth, K>(fx)) * tap_weight<HalfWidth, K>(fx)) + ...);
  }
};

// The box of a texture smaller than itself: taps beyond the last texel or line repeat it. Any size, for
// postage stamps only, so loops do. The kernel's src is the SmallTexture.
struct SmallTextureArgument {
  const SmallTexture& record;
  SmallTextureArgument(const uint8_t* src, int32_t)
      : record(*static_cast<const SmallTexture*>(static_cast<const void*>(src))) {}
};

template <int Narrowing>
struct SmallBox {
  using Texture = SmallTextureArgument;
  using Chroma = SmallBox<2 * Narrowing>;
  static constexpr bool kPairwise = true;

  template <class Plane>
  static uint32_t sample(const Texture& texture, Position at) {
    const SmallTexture& small = texture.record;
    const spans::Texture lines(small.src, small.pitch);
    const int32_t half_width = small.half_width / Narrowing;
    uint64_t total = 0;
    for (int32_t l = 0; l <= (small.half_height + 1) / 2; ++l) {
      const uint8_t* const line = lines.line(std::min((at.v >> 16) + l, small.last_line));
      const uint64_t line_weight = overlap(fraction(at.v), small.half_height, l);
      for (int32_t k = 0; k <= (half_width + 1) / 2; ++k) {
        const int32_t column = std::min((at.u >> 16) + k, Plane::last_column(small.last_column));
        total += line_weight * overlap(fraction(at.u), half_width, k) * Plane::load(line, column);
      }
    }
    const uint64_t divisor =
        uint64_t{64} * static_cast<uint32_t>(half_width) * 64 * static_cast<uint32_t>(small.half_height);
    return static_cast<uint32_t>((total + divisor / 2) / divisor);
  }

 private:
  static uint32_t overlap(int32_t f, int32_t half_units, int32_t tap) {
    const int32_t length = std::min(f + 64 * half_units, 128 * (tap + 1)) - std::max(f, 128 * tap);
    return static_cast<uint32_t>(std::max(length, 0));
  }
};

}  // namespace
}  // namespace dorbmp::spans
