// Samples across weighed by the widths they share with each pixel, in AVX2: the sums of the plain kernels.
#include "dorbmp/mapping/rect/kernels.h"
#include "dorbmp/mapping/rect/vectors_avx2.h"

namespace dorbmp::mapping::avx2 {
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
DORBMP_INLINE __m256i eight_lanes(const Columns<Channels>& columns, const uint8_t* bytes, int32_t pixel,
                                  __m256i same_picks) {
  constexpr int kBytes = kSamples == Samples::kBytes ? 1 : 2;
  const uint8_t* low = bytes + ptrdiff_t{columns.first[pixel]} * kBytes;
  const uint8_t* high = bytes + ptrdiff_t{columns.first[pixel + 4 / Lanes]} * kBytes;
  __m256i picks = same_picks;
  if constexpr (Lanes < 4) picks = picks_of<kSamples, Lanes>(load(columns.picks + pixel * Lanes));
  const auto weighed = [&](__m256i samples, __m256i from, int step) {
    return _mm256_madd_epi16(_mm256_shuffle_epi8(samples, from), load(columns.weights[step] + pixel * Lanes));
  };
  const __m256i samples = samples_of<kSamples, Lanes>(low, high);
  const __m256i sums = weighed(samples, picks, 0);
  if (Steps == 1) return sums;
  constexpr int kSkip = 2 * Lanes * kBytes;
  if (kBytes == 1 && kSkip <= 8) {
    // Sixteen bytes serve both steps.
    return _mm256_add_epi32(sums, weighed(samples, _mm256_add_epi8(picks, _mm256_set1_epi8(kSkip)), 1));
  }
  return _mm256_add_epi32(sums, weighed(samples_of<kSamples, Lanes>(low + kSkip, high + kSkip), picks, 1));
}

// Eight sums of pixels of as many lanes, when these have been added until so many are left.
template <int Left, Samples kSamples, int Lanes, int Steps, int Channels>
DORBMP_INLINE __m256i eight_sums(const Columns<Channels>& columns, const uint8_t* bytes, int32_t pixel,
                                 __m256i same_picks) {
  if constexpr (Left == Lanes) {
    return eight_lanes<kSamples, Lanes, Steps>(columns, bytes, pixel, same_picks);
  } else {
    const auto half = [&](int32_t from) {
      return eight_sums<2 * Left, kSamples, Lanes, Steps>(columns, bytes, from, same_picks);
    };
    return folded<Channels>(half(pixel), half(pixel + 4 / Left));
  }
}

template <Samples kSamples, int Fold, int Steps, bool kTwo, int Channels>
void sum_lanes(const Columns<Channels>& columns, SampleRow row, uint32_t* sums, uint32_t* next_sums) {
  constexpr int kLanes = Fold * Channels;  // of a pixel
  // Where no two pixels share a load, all pick the same.
  const __m256i same_picks = picks_of<kSamples, kLanes>(load(columns.picks));
  constexpr int kApart = kSamples == Samples::kLuma ? 2 : 1;
  constexpr bool kAsk = kSamples == Samples::kBytes || kSamples == Samples::kLuma;
  const auto bytes = static_cast<const uint8_t*>(row.row);
  const uint8_t *const below = bytes + row.next, *const next = below + (kTwo ? row.next : 0);
  constexpr int32_t kPixels = 8 / Channels;
  // Both before a store: what they are weighed by is loaded once.
  const auto sum = [&](int32_t i) DORBMP_INLINE_LAMBDA {
    const __m256i these = eight_sums<Channels, kSamples, kLanes, Steps>(columns, bytes, i, same_picks);
    __m256i those = {};
    if (kTwo) those = eight_sums<Channels, kSamples, kLanes, Steps>(columns, below, i, same_picks);
    store(sums + i * Channels, these);
    if (kTwo) store(next_sums + i * Channels, those);
  };
  constexpr int32_t kTogether = Channels == 1 ? kPixels : 2 * kPixels;
  const int32_t pixels = columns.pixels;
  for (int32_t i = 0; i < pixels; i += kTogether) {
    const ptrdiff_t first = ptrdiff_t{columns.first[i]} * kApart;
    if (kAsk) DORBMP_PREFETCH(next + first);
    if (kAsk && kTwo) DORBMP_PREFETCH(next + row.next + first);
    for (int32_t n = 0; n < kTogether; n += kPixels) sum(i + n);
  }
}

template <Samples kSamples, int Fold, int Steps, int Channels>
DORBMP_INLINE void sum_lines(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums,
                             uint32_t* next_sums) {
  if constexpr (kSamples != Samples::kWords)
    if (next_sums != nullptr) return sum_lanes<kSamples, Fold, Steps, true>(columns, row, sums, next_sums);
  sum_lanes<kSamples, Fold, Steps, false>(columns, row, sums, next_sums);
}

template <Samples kSamples, int Fold, int Channels>
void sum_folded(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  columns.steps == 1 ? sum_lines<kSamples, Fold, 1>(columns, row, sums, next_sums)
                     : sum_lines<kSamples, Fold, 2>(columns, row, sums, next_sums);
}

// False where there are too many samples.
template <Samples kSamples, int Channels>
bool sum_columns(const Columns<Channels>& columns, const SampleRow& row, uint32_t* sums,
                 uint32_t* next_sums) {
  switch (columns.fold) {
    case 1:
      sum_folded<kSamples, 1>(columns, row, sums, next_sums);
      return true;
    case 2:
      sum_folded<kSamples, 2>(columns, row, sums, next_sums);
      return true;
    case 4:
      if constexpr (Channels == 1) sum_folded<kSamples, 4>(columns, row, sums, next_sums);
      return Channels == 1;
    default:
      return false;
  }
}

}  // namespace

void sum_columns_1(const Columns<1>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  const bool done =
      row.samples == Samples::kBytes  ? sum_columns<Samples::kBytes>(columns, row, sums, next_sums)
      : row.samples == Samples::kLuma ? sum_columns<Samples::kLuma>(columns, row, sums, next_sums)
                                      : sum_columns<Samples::kWords>(columns, row, sums, next_sums);
  if (!done) plain::sum_columns_1(columns, row, sums, next_sums);
}

void sum_columns_2(const Columns<2>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  const bool done = row.samples == Samples::kChroma
                        ? sum_columns<Samples::kChroma>(columns, row, sums, next_sums)
                        : sum_columns<Samples::kWords>(columns, row, sums, next_sums);
  if (!done) plain::sum_columns_2(columns, row, sums, next_sums);
}

void sum_columns_4(const Columns<4>& columns, const SampleRow& row, uint32_t* sums, uint32_t* next_sums) {
  const bool done = row.samples == Samples::kBytes
                        ? sum_columns<Samples::kBytes>(columns, row, sums, next_sums)
                        : sum_columns<Samples::kWords>(columns, row, sums, next_sums);
  if (!done) plain::sum_columns_4(columns, row, sums, next_sums);
}

}  // namespace dorbmp::mapping::avx2
