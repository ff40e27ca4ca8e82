// A line of packed 4:2:2 in blocks of eight pixels that begin at even ones.
#pragma once

#include <algorithm>
#include <cstring>

#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

DORBMP_INLINE __m128i load_pairs(const uint8_t* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(from)));
}

// The pairs that hold the first pixels of a block, up to end - 1.
inline __m128i load_part(const uint8_t* from, int32_t end) {
  uint8_t bytes[16] = {};
  std::memcpy(bytes, from, static_cast<size_t>((end + 1) & ~1) * 2);
  return load_pairs(bytes);
}

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

// block(x, begin, end, old) gives the pairs from pixel x on, of which pixels begin to end - 1 are written;
// old is what stands there, as far as pairs with such pixels go.
template <class Block>
DORBMP_INLINE void run_blocks(uint8_t* row, int32_t first, int32_t last, Block block) {
  int32_t begin = first & 1;
  for (int32_t x = first & ~1; x <= last; x += kBlock, begin = 0) {
    const int32_t end = std::min(last - x + 1, kBlock);
    const bool is_whole = begin == 0 && end == kBlock;
    uint8_t* const to = row + static_cast<ptrdiff_t>(x) * 2;
    // One call of block, so that the compiler puts it here.
    const __m128i pairs = block(x, begin, end, is_whole ? load_pairs(to) : load_part(to, end));
    if (is_whole) {
      _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(to)), pairs);
    } else {
      put_part(to, pairs, begin, end);
    }
  }
}

}  // namespace
}  // namespace dorbmp::spans::avx2
