// Rectangle mapping in AVX2: the bytes of the plain kernels. Nothing beyond the given pixels is read of the
// source or touched of the destination; rows end with the plain arithmetic.
#include <immintrin.h>

#include "dorbmp/compiler.h"
#include "dorbmp/mapping/rect/blend.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp::mapping::avx2 {
namespace {

template <class Type>
DORBMP_INLINE __m256i load(const Type* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

template <class Type>
DORBMP_INLINE __m128i load_half(const Type* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

template <class Type>
DORBMP_INLINE void store(Type* to, __m256i value) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value);
}

template <class Type>
DORBMP_INLINE void store_half(Type* to, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

DORBMP_INLINE __m128i high_half(__m256i value) {
  return _mm256_extracti128_si256(value, 1);
}

// The low half of a vector's low half and of its high half change places with the high ones between them:
// what undoes the interleaving of packs and unpacks.
DORBMP_INLINE __m256i swap_middle(__m256i value) {
  return _mm256_permute4x64_epi64(value, 0b11'01'10'00);
}

// ---- Lines ----

// Sixteen weighed bytes: 0 to 3 and 8 to 11, 4 to 7 and 12 to 15.
struct Weighed {
  __m256i low, high;
};

DORBMP_INLINE __m256i words(const uint8_t* bytes) {
  return _mm256_cvtepu8_epi16(load_half(bytes));
}

DORBMP_INLINE Weighed weigh(__m256i a, __m256i b, __m256i weights) {
  return {_mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weights),
          _mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weights)};
}

// At most so many bytes add up to a signed 16-bit factor.
constexpr int32_t kMostInnerLines = 128;

// step(sums, index of the byte) for each whole 16 of the bytes; returns how many bytes that were. The first
// line and the last are weighed together, those between are summed first.
template <class Step>
DORBMP_INLINE int32_t weigh_lines(const LineTaps& taps, ptrdiff_t offset, int32_t bytes, Step step) {
  const int32_t inner_lines = taps.count - 2;
  if (inner_lines > kMostInnerLines) return 0;
  const auto set = [](uint32_t a, uint32_t b) {
    return _mm256_set1_epi32(static_cast<int32_t>(a | b << 16));
  };
  const __m256i outer = set(taps.first_weight, taps.last_weight);
  const __m256i inner = set(taps.inner_weight, 0);
  const ptrdiff_t pitch = taps.pitch;
  const uint8_t* first = taps.first + offset;
  const uint8_t* last = first + (taps.count - 1) * pitch;
  int32_t i = 0;
  if (inner_lines <= 0) {
    for (; i + 16 <= bytes; i += 16) step(weigh(words(first + i), words(last + i), outer), i);
    return i;
  }
  for (; i + 16 <= bytes; i += 16) {
    const uint8_t* line = first + i + pitch;
    __m256i between = words(line);
    for (int32_t n = inner_lines - 1; n > 0; --n) between = _mm256_add_epi16(between, words(line += pitch));
    const Weighed ends = weigh(words(first + i), words(last + i), outer);
    const Weighed rest = weigh(between, between, inner);
    step({_mm256_add_epi32(ends.low, rest.low), _mm256_add_epi32(ends.high, rest.high)}, i);
  }
  return i;
}

DORBMP_INLINE __m256i first_eight(const Weighed& bytes) {
  return _mm256_permute2x128_si256(bytes.low, bytes.high, 0x20);
}

DORBMP_INLINE __m256i last_eight(const Weighed& bytes) {
  return _mm256_permute2x128_si256(bytes.low, bytes.high, 0x31);
}

DORBMP_INLINE __m256i even_lanes(__m256i low, __m256i high) {
  return _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0b10'00'10'00));
}

DORBMP_INLINE __m256i odd_lanes(__m256i low, __m256i high) {
  return _mm256_castps_si256(
      _mm256_shuffle_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0b11'01'11'01));
}

DORBMP_INLINE __m256i even_bytes(const Weighed& bytes) {
  return even_lanes(bytes.low, bytes.high);
}

DORBMP_INLINE __m256i odd_bytes(const Weighed& bytes) {
  return odd_lanes(bytes.low, bytes.high);
}

}  // namespace

void weigh_bytes(const LineTaps& taps, ptrdiff_t offset, int32_t bytes, uint32_t* values) {
  const int32_t done = weigh_lines(taps, offset, bytes, [&](const Weighed& sums, int32_t i) {
    store(values + i, first_eight(sums));
    store(values + i + 8, last_eight(sums));
  });
  plain::weigh_bytes(taps, offset + done, bytes - done, values + done);
}

void weigh_pairs(const LineTaps& taps, ptrdiff_t offset, int32_t pairs, uint32_t* luma, uint32_t* chroma) {
  const int32_t done = weigh_lines(taps, offset, pairs * 4, [&](const Weighed& sums, int32_t i) {
    store(luma + i / 2, even_bytes(sums));
    store(chroma + i / 2, odd_bytes(sums));
  });
  plain::weigh_pairs(taps, offset + done, pairs - done / 4, luma + done / 2, chroma + done / 2);
}

// ---- Running sums and differences ----

namespace {

// Of eight values, after what came before them (in every lane).
DORBMP_INLINE __m256i running_sums(__m256i sums, __m256i& before) {
  sums = _mm256_add_epi32(sums, _mm256_slli_si256(sums, 4));
  sums = _mm256_add_epi32(sums, _mm256_slli_si256(sums, 8));
  const __m256i low_half = _mm256_permute2x128_si256(sums, sums, 0x08);
  sums = _mm256_add_epi32(sums, _mm256_shuffle_epi32(low_half, 0b11'11'11'11));
  const __m256i total = _mm256_permutevar8x32_epi32(sums, _mm256_set1_epi32(7));
  sums = _mm256_add_epi32(sums, before);
  before = _mm256_add_epi32(before, total);
  return sums;
}

// Of four values of two channels.
DORBMP_INLINE __m256i running_sums_of_two(__m256i sums, __m256i& before) {
  sums = _mm256_add_epi32(sums, _mm256_slli_si256(sums, 8));
  const __m256i low_half = _mm256_permute2x128_si256(sums, sums, 0x08);
  sums = _mm256_add_epi32(sums, _mm256_unpackhi_epi64(low_half, low_half));
  const __m256i total = _mm256_permute4x64_epi64(sums, 0b11'11'11'11);
  sums = _mm256_add_epi32(sums, before);
  before = _mm256_add_epi32(before, total);
  return sums;
}

}  // namespace

void sum_1(const LineTaps& taps, ptrdiff_t offset, int32_t count, uint32_t* sums) {
  __m256i before = _mm256_set1_epi32(static_cast<int32_t>(sums[0]));
  const int32_t done = weigh_lines(taps, offset, count, [&](const Weighed& bytes, int32_t i) {
    store(sums + 1 + i, running_sums(first_eight(bytes), before));
    store(sums + 9 + i, running_sums(last_eight(bytes), before));
  });
  plain::sum_1(taps, offset + done, count - done, sums + done);
}

void sum_4(const LineTaps& taps, ptrdiff_t offset, int32_t count, uint32_t* sums) {
  __m128i sum = load_half(sums);
  const int32_t done = weigh_lines(taps, offset, count * 4, [&](const Weighed& bytes, int32_t i) {
    const __m128i samples[] = {_mm256_castsi256_si128(bytes.low), _mm256_castsi256_si128(bytes.high),
                               high_half(bytes.low), high_half(bytes.high)};
    for (int n = 0; n < 4; ++n) {
      sum = _mm_add_epi32(sum, samples[n]);
      store_half(sums + 4 + i + 4 * n, sum);
    }
  });
  plain::sum_4(taps, offset + done, count - done / 4, sums + done);
}

void sum_pairs(const LineTaps& taps, ptrdiff_t offset, int32_t pairs, uint32_t* luma, uint32_t* chroma) {
  __m256i luma_before = _mm256_set1_epi32(static_cast<int32_t>(luma[0]));
  __m256i chroma_before = _mm256_set1_epi64x(static_cast<int64_t>(chroma[0] | uint64_t{chroma[1]} << 32));
  const int32_t done = weigh_lines(taps, offset, pairs * 4, [&](const Weighed& bytes, int32_t i) {
    store(luma + 1 + i / 2, running_sums(even_bytes(bytes), luma_before));
    store(chroma + 2 + i / 2, running_sums_of_two(odd_bytes(bytes), chroma_before));
  });
  plain::sum_pairs(taps, offset + done, pairs - done / 4, luma + done / 2, chroma + done / 2);
}

void subtract(uint32_t* values, int32_t distance, int32_t count) {
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    store(values + i, _mm256_sub_epi32(load(values + i + distance), load(values + i)));
  }
  plain::subtract(values + i, distance, count - i);
}

// ---- Mixes ----

namespace {

// Products of values and weights in two vectors, the first samples' in the even lanes.
DORBMP_INLINE __m256i sums_of_neighbours(__m256i low, __m256i high) {
  return swap_middle(_mm256_add_epi32(even_lanes(low, high), odd_lanes(low, high)));
}

// Eight pixels whose samples lie within eight: values are picked from two vectors.
DORBMP_INLINE __m256i mix_near(const int32_t* samples, const uint32_t* weights, const uint32_t* values,
                               int32_t first) {
  const uint32_t* from = values + (samples[0] - first);
  const __m256i pick = swap_middle(_mm256_sub_epi32(load(samples), _mm256_set1_epi32(samples[0])));
  const __m256i low = load(weights), high = load(weights + 8);
  const __m256i a = _mm256_mullo_epi32(_mm256_permutevar8x32_epi32(load(from), pick), even_lanes(low, high));
  const __m256i b =
      _mm256_mullo_epi32(_mm256_permutevar8x32_epi32(load(from + 1), pick), odd_lanes(low, high));
  return swap_middle(_mm256_add_epi32(a, b));
}

// Eight whose samples lie anywhere.
DORBMP_INLINE __m256i mix_far(const int32_t* samples, const uint32_t* weights, const uint32_t* values,
                              int32_t first) {
  const auto pair = [&](int32_t i) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(values + (samples[i] - first)));
  };
  const auto products = [&](int32_t i) {
    const __m128i low = _mm_unpacklo_epi64(pair(i), pair(i + 1));
    const __m128i high = _mm_unpacklo_epi64(pair(i + 2), pair(i + 3));
    return _mm256_mullo_epi32(_mm256_set_m128i(high, low), load(weights + 2 * i));
  };
  return sums_of_neighbours(products(0), products(4));
}

}  // namespace

void mix_1(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
           int32_t first, uint32_t* mixed) {
  int32_t i = 0;
  for (; i + 8 <= count; i += 8) {
    const bool near = samples[i + 7] - samples[i] < 8;
    store(mixed + i, near ? mix_near(samples + i, weights + 2 * i, values, first)
                          : mix_far(samples + i, weights + 2 * i, values, first));
  }
  plain::mix_1(samples + i, weights + 2 * i, count - i, values, first, mixed + i);
}

void mix_2(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
           int32_t first, uint32_t* mixed) {
  const auto products = [&](int32_t i) {
    const auto pairs = [&](int32_t k) { return load_half(values + (samples[k] - first) * 2); };
    return _mm256_mullo_epi32(_mm256_set_m128i(pairs(i + 1), pairs(i)), load(weights + 4 * i));
  };
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const __m256i low = products(i), high = products(i + 2);
    const __m256i sum = _mm256_add_epi32(_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high));
    store(mixed + 2 * i, swap_middle(sum));
  }
  plain::mix_2(samples + i, weights + 4 * i, count - i, values, first, mixed + 2 * i);
}

void mix_4(const int32_t* samples, const uint32_t* weights, int32_t count, const uint32_t* values,
           int32_t first, uint32_t* mixed) {
  const auto products = [&](int32_t i) {
    return _mm256_mullo_epi32(load(values + (samples[i] - first) * 4), load(weights + 8 * i));
  };
  int32_t i = 0;
  for (; i + 2 <= count; i += 2) {
    const __m256i low = products(i), high = products(i + 1);
    store(mixed + 4 * i, _mm256_add_epi32(_mm256_permute2x128_si256(low, high, 0x20),
                                          _mm256_permute2x128_si256(low, high, 0x31)));
  }
  plain::mix_4(samples + i, weights + 8 * i, count - i, values, first, mixed + 4 * i);
}

// ---- Pixels ----

namespace {

// Four vectors of means to bytes, in order.
DORBMP_INLINE __m256i narrow(__m256i a, __m256i b, __m256i c, __m256i d) {
  const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, d));
  return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

DORBMP_INLINE __m256i means(const uint32_t* sums) {
  return _mm256_srli_epi32(load(sums), kWeightBits);
}

DORBMP_INLINE __m128i words(__m256i lanes) {
  return _mm_packus_epi32(_mm256_castsi256_si128(lanes), high_half(lanes));
}

// Eight pixels and their coverage, from luma and chroma bytes in 32-bit lanes.
DORBMP_INLINE void put_pairs(__m256i luma, __m256i chroma, __m256i coverage, uint8_t* row, uint16_t* cover) {
  store_half(row, words(_mm256_or_si256(luma, _mm256_slli_epi32(chroma, 8))));
  store_half(cover, words(coverage));
}

}  // namespace

void put_mono8(const uint32_t* sums, int32_t pixels, uint8_t* row) {
  int32_t i = 0;
  for (; i + 32 <= pixels; i += 32) {
    store(row + i, narrow(means(sums + i), means(sums + i + 8), means(sums + i + 16), means(sums + i + 24)));
  }
  plain::put_mono8(sums + i, pixels - i, row + i);
}

void put_rgb32(const uint32_t* sums, int32_t pixels, uint8_t* row, uint16_t* cover) {
  const __m256i byte_3 = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000));
  int32_t i = 0;
  for (; i + 8 <= pixels; i += 8) {
    const uint32_t* sum = sums + 4 * i;
    const __m256i colors = narrow(means(sum), means(sum + 8), means(sum + 16), means(sum + 24));
    store(row + 4 * i, _mm256_blendv_epi8(colors, load(row + 4 * i), byte_3));
    store_half(cover + i, _mm_set1_epi16(kPixelUnits));
  }
  plain::put_rgb32(sums + 4 * i, pixels - i, row + 4 * i, cover + i);
}

void put_yuy2_run(const uint32_t* luma, const uint32_t* chroma, int32_t pairs, uint8_t* row,
                  uint16_t* cover) {
  const __m256i half = _mm256_set1_epi32(kFullWeight / 2), whole = _mm256_set1_epi32(kFullWeight);
  for (; pairs >= 4; pairs -= 4, luma += 8, chroma += 16, row += 16, cover += 8) {
    const __m256i y = _mm256_srli_epi32(_mm256_add_epi32(load(luma), half), kWeightBits);
    const __m256i low = load(chroma), high = load(chroma + 8);
    const __m256i both = _mm256_add_epi32(_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high));
    const __m256i uv = _mm256_srli_epi32(_mm256_add_epi32(both, whole), kWeightBits + 1);
    put_pairs(y, swap_middle(uv), _mm256_set1_epi32(kPixelUnits), row, cover);
  }
  plain::put_yuy2_run(luma, chroma, pairs, row, cover);
}

namespace {

// Nothing is there: the first pixel's chroma is its own, the second's the mean of both.
DORBMP_INLINE __m256i unblended_chroma(__m256i first, __m256i second) {
  const __m256i one = _mm256_srli_epi32(first, kWeightBits);
  const __m256i both = _mm256_add_epi32(second, _mm256_slli_epi32(one, kWeightBits));
  return _mm256_srli_epi32(both, kWeightBits + 1);
}

// Coverage up to which blending stays below 2^24, in the chroma of two pixels as well.
constexpr int kMostCoverage = 28672;

// The plain quotient: numbers below 2^24 are exact in single precision, and no quotient below 256 is as near
// to the next integer, from below, as to round to it with a divisor below 2^17.
DORBMP_INLINE __m256i blend_whole(__m256i sum, __m256i old, __m256i coverage) {
  const __m256i total =
      _mm256_add_epi32(_mm256_srli_epi32(sum, kCoverageBits), _mm256_mullo_epi32(old, coverage));
  const __m256i weight = _mm256_add_epi32(coverage, _mm256_set1_epi32(kPixelUnits));
  return _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(total), _mm256_cvtepi32_ps(weight)));
}

}  // namespace

void put_yuy2_blended(const uint32_t* luma, const uint32_t* chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover) {
  const __m128i most = _mm_set1_epi16(kMostCoverage);
  const __m256i painted_once = _mm256_set1_epi32(kPixelUnits);
  for (; pairs >= 4; pairs -= 4, luma += 8, chroma += 16, row += 16, cover += 8) {
    const __m128i there = load_half(cover);
    const __m256i low = load(chroma), high = load(chroma + 8);
    const __m256i first = swap_middle(_mm256_unpacklo_epi64(low, high));
    const __m256i second = swap_middle(_mm256_unpackhi_epi64(low, high));
    if (_mm_testz_si128(there, there) != 0) {
      put_pairs(means(luma), unblended_chroma(first, second), painted_once, row, cover);
    } else if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_max_epu16(there, most), most)) == 0xFFFF) {
      const __m256i old = _mm256_cvtepu16_epi32(load_half(row));
      const __m256i coverage = _mm256_cvtepu16_epi32(there);
      const __m256i both = _mm256_add_epi32(coverage, _mm256_shuffle_epi32(coverage, 0b10'11'00'01));
      const __m256i y = blend_whole(load(luma), _mm256_and_si256(old, _mm256_set1_epi32(255)), coverage);
      const __m256i uv = blend_whole(second, blend_whole(first, _mm256_srli_epi32(old, 8), both),
                                     _mm256_add_epi32(both, painted_once));
      put_pairs(y, uv, _mm256_add_epi32(coverage, painted_once), row, cover);
    } else {
      plain::put_yuy2_blended(luma, chroma, 4, row, cover);
    }
  }
  plain::put_yuy2_blended(luma, chroma, pairs, row, cover);
}

}  // namespace dorbmp::mapping::avx2
