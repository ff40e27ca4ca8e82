// Lines added, in AVX2: the words of the plain kernels. Nothing beyond the given bytes is read.
#include "dorbmp/mapping/rect/kernels.h"
#include "dorbmp/mapping/rect/vectors_avx2.h"

namespace dorbmp::mapping::avx2 {
namespace {

// What some bytes of a line add to: a vector of words, or two.

struct Bytes {
  static constexpr int kBytes = 16, kSums = 1;
  __m256i sums[kSums] = {};

  DORBMP_INLINE void add(const uint8_t* bytes) {
    sums[0] = _mm256_add_epi16(sums[0], _mm256_cvtepu8_epi16(load_half(bytes)));
  }
  DORBMP_INLINE void finish() {}
};

// Luma, the even bytes, and chroma, the odd ones, which are added together until the end.
struct Pairs {
  static constexpr int kBytes = 32, kSums = 2;
  __m256i sums[kSums] = {};

  DORBMP_INLINE void add(const uint8_t* bytes) {
    const __m256i both = load(bytes);
    sums[0] = _mm256_add_epi16(sums[0], both);
    sums[1] = _mm256_add_epi16(sums[1], _mm256_srli_epi16(both, 8));
  }
  DORBMP_INLINE void finish() { sums[0] = _mm256_sub_epi16(sums[0], _mm256_slli_epi16(sums[1], 8)); }
};

// Some vectors of bytes, added over the lines. kCount: how many these are, or 0.
template <class Sum, int kCount, int kVectors>
DORBMP_INLINE void add_vectors(const LineBlock& block, int32_t from, uint16_t* const (&to)[Sum::kSums]) {
  Sum sums[kVectors];
  const uint8_t* line = block.lines + from;
  const int32_t count = kCount != 0 ? kCount : block.count;
  const ptrdiff_t next = count * block.pitch;
  for (int32_t n = 0; n < count; ++n, line += block.pitch) {
    for (int v = 0; v < kVectors; ++v) {
      if (v * Sum::kBytes % 64 == 0) DORBMP_PREFETCH(line + v * Sum::kBytes + next);
      sums[v].add(line + v * Sum::kBytes);
    }
  }
  for (int v = 0; v < kVectors; ++v) {
    sums[v].finish();
    for (int s = 0; s < Sum::kSums; ++s) store(to[s] + from / (Sum::kBytes / 16) + 16 * v, sums[v].sums[s]);
  }
}

template <class Sum, int kCount>
void add_lines(const LineBlock& block, int32_t bytes, uint16_t* const (&to)[Sum::kSums]) {
  int32_t from = 0;
  for (; from + 128 <= bytes; from += 128) add_vectors<Sum, kCount, 128 / Sum::kBytes>(block, from, to);
  for (; from + Sum::kBytes <= bytes; from += Sum::kBytes) add_vectors<Sum, kCount, 1>(block, from, to);
  // The last vector over again where the bytes do not divide into such.
  if (from < bytes) add_vectors<Sum, kCount, 1>(block, bytes - Sum::kBytes, to);
}

// False where there is not a vector of bytes.
template <class Sum>
DORBMP_INLINE bool add_lines(const LineBlock& block, int32_t bytes, uint16_t* const (&to)[Sum::kSums]) {
  if (bytes < Sum::kBytes) return false;
  switch (block.count) {
    case 1:
      add_lines<Sum, 1>(block, bytes, to);
      return true;
    case 2:
      add_lines<Sum, 2>(block, bytes, to);
      return true;
    case 4:
      add_lines<Sum, 4>(block, bytes, to);
      return true;
    default:
      add_lines<Sum, 0>(block, bytes, to);
      return true;
  }
}

}  // namespace

void add_bytes(const LineBlock& block, int32_t bytes, uint16_t* words) {
  if (!add_lines<Bytes>(block, bytes, {words})) plain::add_bytes(block, bytes, words);
}

void add_pairs(const LineBlock& block, int32_t pairs, uint16_t* luma, uint16_t* chroma) {
  if (!add_lines<Pairs>(block, 4 * pairs, {luma, chroma})) plain::add_pairs(block, pairs, luma, chroma);
}

}  // namespace dorbmp::mapping::avx2
