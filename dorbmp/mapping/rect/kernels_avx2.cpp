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

// ---- Columns ----

namespace {

// Sums of a pixel's neighbouring lanes (of the same channel).
template <int Channels>
DORBMP_INLINE __m256i folded(__m256i low, __m256i high) {
  if constexpr (Channels == 1) return swap_middle(_mm256_hadd_epi32(low, high));
  if constexpr (Channels == 2) {
    return swap_middle(_mm256_add_epi32(_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high)));
  }
  return _mm256_add_epi32(_mm256_permute2x128_si256(low, high, 0x20),
                          _mm256_permute2x128_si256(low, high, 0x31));
}

// Picks are of words. Of bytes, the upper half of each picked word is left zero.
template <Samples kSamples, int Lanes>
DORBMP_INLINE __m256i picks_of(__m256i words) {
  const __m256i zero_above = _mm256_set1_epi16(static_cast<int16_t>(0x8000));
  switch (kSamples) {
    case Samples::kBytes: {
      const __m256i bytes = _mm256_or_si256(_mm256_srli_epi16(words, 9), zero_above);
      // One load of sixteen serves both halves.
      return Lanes < 8 ? bytes : _mm256_or_si256(bytes, _mm256_set_m128i(_mm_set1_epi16(8), __m128i{}));
    }
    case Samples::kLuma:
      return _mm256_or_si256(words, zero_above);
    case Samples::kChroma:
      return _mm256_or_si256(_mm256_srli_epi16(words, 8), zero_above);
    default:
      return words;
  }
}

// The samples of eight lanes, of the low four and the high four from these on.
template <Samples kSamples, int Lanes>
DORBMP_INLINE __m256i samples_of(const uint8_t* low, const uint8_t* high) {
  if constexpr (Lanes == 8 && kSamples == Samples::kBytes) return _mm256_broadcastsi128_si256(load_half(low));
  if constexpr (Lanes == 8) return load(low);
  return _mm256_set_m128i(load_half(high), load_half(low));
}

// Eight lanes, from a pixel's first on.
template <Samples kSamples, int Lanes, int Steps, int Channels>
DORBMP_INLINE __m256i eight_lanes(const Columns<Channels>& columns, const SampleRow& row, int32_t pixel,
                                  __m256i same_picks) {
  constexpr int kBytes = kSamples == Samples::kBytes ? 1 : 2;
  const auto bytes = static_cast<const uint8_t*>(row.row);
  const uint8_t* low = bytes + ptrdiff_t{columns.first[pixel]} * kBytes;
  const uint8_t* high = bytes + ptrdiff_t{columns.first[pixel + 4 / Lanes]} * kBytes;
  if (kSamples == Samples::kBytes || kSamples == Samples::kLuma) DORBMP_PREFETCH(low + row.next);
  __m256i picks = same_picks;
  if constexpr (Lanes < 4) picks = picks_of<kSamples, Lanes>(load(columns.picks + pixel * Lanes));
  const auto products = [&](int step) {
    const int skip = 2 * Lanes * kBytes * step;
    const __m256i samples = samples_of<kSamples, Lanes>(low + skip, high + skip);
    return _mm256_madd_epi16(_mm256_shuffle_epi8(samples, picks),
                             load(columns.weights[step] + pixel * Lanes));
  };
  return Steps == 1 ? products(0) : _mm256_add_epi32(products(0), products(1));
}

// Eight sums of pixels of as many lanes, when these have been added until so many are left.
template <int Left, Samples kSamples, int Lanes, int Steps, int Channels>
DORBMP_INLINE __m256i eight_sums(const Columns<Channels>& columns, const SampleRow& row, int32_t pixel,
                                 __m256i same_picks) {
  if constexpr (Left == Lanes) {
    return eight_lanes<kSamples, Lanes, Steps>(columns, row, pixel, same_picks);
  } else {
    const auto half = [&](int32_t from) {
      return eight_sums<2 * Left, kSamples, Lanes, Steps>(columns, row, from, same_picks);
    };
    return folded<Channels>(half(pixel), half(pixel + 4 / Left));
  }
}

template <Samples kSamples, int Fold, int Steps, int Channels>
void sum_lanes(const Columns<Channels>& columns, SampleRow row, uint32_t* sums) {
  constexpr int kLanes = Fold * Channels;  // of a pixel
  // Where no two pixels share a load, all pick the same.
  const __m256i same_picks = picks_of<kSamples, kLanes>(load(columns.picks));
  const int32_t pixels = columns.pixels;
  for (int32_t i = 0; i < pixels; i += 8 / Channels, sums += 8) {
    store(sums, eight_sums<Channels, kSamples, kLanes, Steps>(columns, row, i, same_picks));
  }
}

template <Samples kSamples, int Fold, int Channels>
void sum_folded(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums) {
  columns.steps == 1 ? sum_lanes<kSamples, Fold, 1>(columns, row, sums)
                     : sum_lanes<kSamples, Fold, 2>(columns, row, sums);
}

// False where there are too many samples.
template <Samples kSamples, int Channels>
bool sum_columns(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums) {
  switch (columns.fold) {
    case 1:
      sum_folded<kSamples, 1>(columns, row, sums);
      return true;
    case 2:
      sum_folded<kSamples, 2>(columns, row, sums);
      return true;
    case 4:
      if constexpr (Channels == 1) sum_folded<kSamples, 4>(columns, row, sums);
      return Channels == 1;
    default:
      return false;
  }
}

}  // namespace

void sum_columns_1(const Columns<1>& columns, const SampleRow& row, uint32_t* sums) {
  const bool done = row.samples == Samples::kBytes  ? sum_columns<Samples::kBytes>(columns, row, sums)
                    : row.samples == Samples::kLuma ? sum_columns<Samples::kLuma>(columns, row, sums)
                                                    : sum_columns<Samples::kWords>(columns, row, sums);
  if (!done) plain::sum_columns_1(columns, row, sums);
}

void sum_columns_2(const Columns<2>& columns, const SampleRow& row, uint32_t* sums) {
  const bool done = row.samples == Samples::kChroma ? sum_columns<Samples::kChroma>(columns, row, sums)
                                                    : sum_columns<Samples::kWords>(columns, row, sums);
  if (!done) plain::sum_columns_2(columns, row, sums);
}

void sum_columns_4(const Columns<4>& columns, const SampleRow& row, uint32_t* sums) {
  const bool done = row.samples == Samples::kBytes ? sum_columns<Samples::kBytes>(columns, row, sums)
                                                   : sum_columns<Samples::kWords>(columns, row, sums);
  if (!done) plain::sum_columns_4(columns, row, sums);
}

// ---- Pixels ----

namespace {

// Four vectors of means to bytes, in order.
DORBMP_INLINE __m256i narrow(__m256i a, __m256i b, __m256i c, __m256i d) {
  const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, d));
  return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

DORBMP_INLINE __m256i mean(__m256i sums) {
  return _mm256_srli_epi32(sums, kWeightBits);
}

template <int Count>
struct Rows {
  const uint32_t* rows[Count];
  __m256i weights[Count];

  explicit Rows(const WeighedRows& weighed) {
    for (size_t n = 0; n < Count; ++n) {
      rows[n] = weighed.rows[n];
      weights[n] = _mm256_set1_epi32(static_cast<int32_t>(weighed.weights[n]));
    }
  }

  // Eight sums.
  DORBMP_INLINE __m256i at(int32_t i) const {
    __m256i sum = _mm256_mullo_epi32(load(rows[0] + i), weights[0]);
    for (int n = 1; n < Count; ++n)
      sum = _mm256_add_epi32(sum, _mm256_mullo_epi32(load(rows[n] + i), weights[n]));
    return sum;
  }
};

// put(Rows...) for the rows, as many as there are. Returns what it returns.
template <class Put, class... Sums>
DORBMP_INLINE int32_t by_row_count(int count, Put put, const Sums&... sums) {
  switch (count) {
    case 1:
      return put(Rows<1>(sums)...);
    case 2:
      return put(Rows<2>(sums)...);
    default:
      return put(Rows<3>(sums)...);
  }
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

void put_mono8(const WeighedRows& sums, int32_t pixels, uint8_t* row) {
  const auto put = [&](const auto& rows) {
    int32_t i = 0;
    for (; i + 32 <= pixels; i += 32) {
      store(row + i,
            narrow(mean(rows.at(i)), mean(rows.at(i + 8)), mean(rows.at(i + 16)), mean(rows.at(i + 24))));
    }
    return i;
  };
  const int32_t done = by_row_count(sums.count, put, sums);
  plain::put_mono8(sums.from(done), pixels - done, row + done);
}

void put_rgb32(const WeighedRows& sums, int32_t pixels, uint8_t* row, uint16_t* cover) {
  const auto put = [&](const auto& rows) {
    const __m256i byte_3 = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000));
    int32_t i = 0;
    for (; i + 8 <= pixels; i += 8) {
      const int32_t at = 4 * i;
      const __m256i colors =
          narrow(mean(rows.at(at)), mean(rows.at(at + 8)), mean(rows.at(at + 16)), mean(rows.at(at + 24)));
      store(row + at, _mm256_blendv_epi8(colors, load(row + at), byte_3));
      store_half(cover + i, _mm_set1_epi16(kPixelUnits));
    }
    return i;
  };
  const int32_t done = by_row_count(sums.count, put, sums);
  plain::put_rgb32(sums.from(4 * done), pixels - done, row + 4 * done, cover + done);
}

void put_yuy2_run(const WeighedRows& luma, const WeighedRows& chroma, int32_t pairs, uint8_t* row,
                  uint16_t* cover) {
  const auto put = [&](const auto& y_rows, const auto& uv_rows) {
    const __m256i half = _mm256_set1_epi32(kFullWeight / 2), whole = _mm256_set1_epi32(kFullWeight);
    int32_t i = 0;
    for (; i + 8 <= 2 * pairs; i += 8) {
      const __m256i y = mean(_mm256_add_epi32(y_rows.at(i), half));
      const __m256i low = uv_rows.at(2 * i), high = uv_rows.at(2 * i + 8);
      const __m256i both =
          _mm256_add_epi32(_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high));
      const __m256i uv = _mm256_srli_epi32(_mm256_add_epi32(both, whole), kWeightBits + 1);
      put_pairs(y, swap_middle(uv), _mm256_set1_epi32(kPixelUnits), row + 2 * i, cover + i);
    }
    return i;
  };
  const int32_t done = by_row_count(luma.count, put, luma, chroma);
  plain::put_yuy2_run(luma.from(done), chroma.from(2 * done), pairs - done / 2, row + 2 * done, cover + done);
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

void put_yuy2_blended(const WeighedRows& luma, const WeighedRows& chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover) {
  const auto put = [&](const auto& y_rows, const auto& uv_rows) {
    const __m128i most = _mm_set1_epi16(kMostCoverage);
    const __m256i painted_once = _mm256_set1_epi32(kPixelUnits);
    int32_t i = 0;
    for (; i + 8 <= 2 * pairs; i += 8) {
      uint8_t* pixels = row + 2 * i;
      const __m128i there = load_half(cover + i);
      const __m256i low = uv_rows.at(2 * i), high = uv_rows.at(2 * i + 8);
      const __m256i first = swap_middle(_mm256_unpacklo_epi64(low, high));
      const __m256i second = swap_middle(_mm256_unpackhi_epi64(low, high));
      if (_mm_testz_si128(there, there) != 0) {
        put_pairs(mean(y_rows.at(i)), unblended_chroma(first, second), painted_once, pixels, cover + i);
      } else if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_max_epu16(there, most), most)) == 0xFFFF) {
        const __m256i old = _mm256_cvtepu16_epi32(load_half(pixels));
        const __m256i coverage = _mm256_cvtepu16_epi32(there);
        const __m256i both = _mm256_add_epi32(coverage, _mm256_shuffle_epi32(coverage, 0b10'11'00'01));
        const __m256i y = blend_whole(y_rows.at(i), _mm256_and_si256(old, _mm256_set1_epi32(255)), coverage);
        const __m256i uv = blend_whole(second, blend_whole(first, _mm256_srli_epi32(old, 8), both),
                                       _mm256_add_epi32(both, painted_once));
        put_pairs(y, uv, _mm256_add_epi32(coverage, painted_once), pixels, cover + i);
      } else {
        plain::put_yuy2_blended(luma.from(i), chroma.from(2 * i), 4, pixels, cover + i);
      }
    }
    return i;
  };
  const int32_t done = by_row_count(luma.count, put, luma, chroma);
  plain::put_yuy2_blended(luma.from(done), chroma.from(2 * done), pairs - done / 2, row + 2 * done,
                          cover + done);
}

}  // namespace dorbmp::mapping::avx2
