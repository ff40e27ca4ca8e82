// Lines added, in AVX2: the words of the plain kernels. Nothing beyond the given bytes is read.
#include "dorbmp/mapping/rect/kernels.h"
#include "dorbmp/mapping/rect/vectors_avx2.h"

namespace dorbmp::mapping::avx2 {
namespace {

// Of 32 bytes, the sums of the even ones and of the odd ones.
struct Added {
  __m256i even, odd;
};

// put(sums, from) for each 32 bytes of some vectors of them, added over the lines.
template <int Vectors, class Put>
DORBMP_INLINE void add_vectors(const LineBlock& block, int32_t from, Put put) {
  __m256i both[Vectors] = {}, odd[Vectors] = {};
  const uint8_t* line = block.lines + from;
  const ptrdiff_t next = block.count * block.pitch;
  for (int32_t n = block.count; n > 0; --n, line += block.pitch) {
    for (int v = 0; v < Vectors; ++v) {
      if (v % 2 == 0) DORBMP_PREFETCH(line + 32 * v + next);
      const __m256i bytes = load(line + 32 * v);
      both[v] = _mm256_add_epi16(both[v], bytes);
      odd[v] = _mm256_add_epi16(odd[v], _mm256_srli_epi16(bytes, 8));
    }
  }
  for (int v = 0; v < Vectors; ++v)
    put(Added{_mm256_sub_epi16(both[v], _mm256_slli_epi16(odd[v], 8)), odd[v]}, from + 32 * v);
}

// The same for all bytes, the last 32 over again where they do not divide into such. False where there are
// fewer.
template <class Put>
DORBMP_INLINE bool add_lines(const LineBlock& block, int32_t bytes, Put put) {
  if (bytes < 32) return false;
  int32_t from = 0;
  for (; from + 128 <= bytes; from += 128) add_vectors<4>(block, from, put);
  for (; from + 32 <= bytes; from += 32) add_vectors<1>(block, from, put);
  if (from < bytes) add_vectors<1>(block, bytes - 32, put);
  return true;
}

}  // namespace

void add_bytes(const LineBlock& block, int32_t bytes, uint16_t* words) {
  const bool done = add_lines(block, bytes, [&](const Added& sums, int32_t from) {
    const __m256i low = _mm256_unpacklo_epi16(sums.even, sums.odd);
    const __m256i high = _mm256_unpackhi_epi16(sums.even, sums.odd);
    store(words + from, _mm256_permute2x128_si256(low, high, 0x20));
    store(words + from + 16, _mm256_permute2x128_si256(low, high, 0x31));
  });
  if (!done) plain::add_bytes(block, bytes, words);
}

void add_pairs(const LineBlock& block, int32_t pairs, uint16_t* luma, uint16_t* chroma) {
  const bool done = add_lines(block, 4 * pairs, [&](const Added& sums, int32_t from) {
    store(luma + from / 2, sums.even);
    store(chroma + from / 2, sums.odd);
  });
  if (!done) plain::add_pairs(block, pairs, luma, chroma);
}

}  // namespace dorbmp::mapping::avx2
