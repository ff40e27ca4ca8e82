// A line of packed 4:2:2 in blocks of eight pixels that begin at even ones.
#pragma once

#include <algorithm>
#include <cstring>

#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// Pixels first to end - 1 of a block: luma, and with an even pixel its pair's chroma.
inline void put_part(uint8_t* to, __m128i pairs, int32_t first, int32_t end) {
  uint8_t bytes[16];
  _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(bytes)), pairs);
  for (int32_t i = first; i < end; ++i) {
    to[2 * i] = bytes[2 * i];
    if (i % 2 != 0) continue;
    to[2 * i + 1] = bytes[2 * i + 1];
    to[2 * i + 3] = bytes[2 * i + 3];
  }
}

// block(x, begin, end, old) gives the pairs from pixel x on, of which pixels begin to end - 1 are written; old
// is what stands there, as far as pairs with such pixels go.
template <class Block>
DORBMP_INLINE void run_blocks(uint8_t* row, int32_t first, int32_t last, Block block) {
  const auto at = [row](int32_t x) { return row + static_cast<ptrdiff_t>(x) * 2; };
  const auto load = [](const uint8_t* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(from)));
  };
  const auto part = [&](int32_t x, int32_t begin, int32_t end) {
    uint8_t old[16] = {};
    std::memcpy(old, at(x), static_cast<size_t>((end + 1) & ~1) * 2);
    put_part(at(x), block(x, begin, end, load(old)), begin, end);
  };
  if (first > last) return;
  int32_t x = first & ~1;
  if (x != first) {
    part(x, 1, std::min(last - x + 1, kBlock));
    x += kBlock;
  }
  for (; x <= last - (kBlock - 1); x += kBlock) {
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(at(x))), block(x, 0, kBlock, load(at(x))));
  }
  if (x <= last) part(x, 0, last - x + 1);
}

}  // namespace
}  // namespace dorbmp::spans::avx2
