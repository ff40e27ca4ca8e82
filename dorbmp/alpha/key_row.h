// Row primitives of the key shapes: runs and rows of coverage laid into a line of 16-bit words.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dorbmp.h"
#include "dorbmp/bitmap.h"
#include "dorbmp/fixed.h"

namespace dorbmp::alpha {

// The planes a shape may be drawn into: any format whose lines have room for a word a pixel.
constexpr bool is_key_plane(const Bitmap& plane) {
  return holds(plane, int64_t{plane.width} * 2, plane.height);
}

inline uint16_t* key_row(const Bitmap& plane, int64_t line) {
  return reinterpret_cast<uint16_t*>(pixel_address(plane, 0, static_cast<int32_t>(line)));
}

// Long runs are written in pieces: from 2 KB on, C libraries take to string instructions, which need longer
// to start than a line to be written (1080 lines of 1920: 51 us whole, 40 in pieces).
inline constexpr int64_t kPiece = 960;

template <class Write>
void write_pieces(uint16_t* row, int64_t first, int64_t end, Write write) {
  for (; first < end; first += kPiece) {
    write(row + first, static_cast<size_t>(std::min(end - first, kPiece)) * sizeof(*row));
  }
}

inline void clear_run(uint16_t* row, int64_t first, int64_t end) {
  write_pieces(row, first, end, [](uint16_t* words, size_t bytes) { std::memset(words, 0, bytes); });
}

// Full coverage, to be copied: the C library copies at the width of the processor.
inline constexpr auto kFullRun = [] {
  std::array<uint16_t, kPiece> run{};
  for (uint16_t& word : run) word = kFullKey;
  return run;
}();

inline void fill_run(uint16_t* row, int64_t first, int64_t end) {
  write_pieces(row, first, end,
               [](uint16_t* words, size_t bytes) { std::memcpy(words, kFullRun.data(), bytes); });
}

struct Add {
  static uint16_t combine(uint16_t stored, uint16_t coverage) {
    return static_cast<uint16_t>(stored + coverage);
  }
};

struct Maximum {
  static uint16_t combine(uint16_t stored, uint16_t coverage) {
    return stored > coverage ? stored : coverage;
  }
};

template <class Combination>
void combine_pixel(uint16_t* row, int64_t x, int32_t coverage) {
  row[x] = Combination::combine(row[x], static_cast<uint16_t>(coverage));
}

template <class Combination>
void combine_run(uint16_t* row, int64_t first, int64_t end, int32_t coverage) {
  const auto value = static_cast<uint16_t>(coverage);
  for (int64_t x = first; x < end; ++x) row[x] = Combination::combine(row[x], value);
}

// The words from first on meet as many coverages.
template <class Combination>
void combine_row(uint16_t* row, int64_t first, const uint16_t* coverage, int64_t count) {
  uint16_t* word = row + first;
  for (int64_t i = 0; i < count; ++i) word[i] = Combination::combine(word[i], coverage[i]);
}

inline constexpr uint32_t kCombinationMask = 0x70;

// Calls draw with the combination the flags name; with none it draws nothing.
template <class Draw>
void with_combination(uint32_t flags, Draw draw) {
  switch (flags & kCombinationMask) {
    case BMP_ALPHA_ADD:
      return draw(Add{});
    case BMP_ALPHA_MAX:
      return draw(Maximum{});
    default:
      return;
  }
}

// The lines of a shape that belong to the field the flags name. Without BMP_FIELD_ONLY, all of them.
struct ShapeLines {
  int64_t parity;
  int32_t step;

  explicit ShapeLines(uint32_t flags)
      : parity(flags & BMP_FIELD_ODD), step((flags & BMP_FIELD_ONLY) != 0 ? 2 : 1) {}

  int64_t first_from(int64_t line) const { return step == 2 && (line & 1) != parity ? line + 1 : line; }
};

}  // namespace dorbmp::alpha
