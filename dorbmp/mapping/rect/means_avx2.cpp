// Means of samples that weigh the same, in AVX2: the bytes of the plain kernels, in one pass. Nothing beyond
// the given pixels and the samples beneath them is read or touched.
#include <algorithm>
#include <type_traits>

#include "dorbmp/mapping/rect/kernels.h"
#include "dorbmp/mapping/rect/pair_means_avx2.h"
#include "dorbmp/mapping/rect/vectors_avx2.h"

namespace dorbmp::mapping::avx2 {
namespace {

// A block and its samples, those as constants, and the lines as well where kLines is not 0.
template <int kSamples, int kStep, int kLines>
struct Kind {
  static constexpr int samples = kSamples, step = kStep;
  static constexpr bool one_byte = kSamples * kLines == 1;

  LineBlock block;
  const uint8_t* next = block.lines + block.count * block.pitch;  // wanted next

  explicit Kind(const LineBlock& of) : block(of) {}
  DORBMP_INLINE int32_t lines() const { return kLines != 0 ? kLines : block.count; }
};

template <int kSamples, int kStep, class Run>
DORBMP_INLINE void by_lines(const LineBlock& block, Run run) {
  // So that not too much code becomes of it.
  constexpr int kMost = 16 / kSamples;
  if constexpr (kStep == 1)
    if (block.count == 1) return run(Kind<kSamples, kStep, 1>(block));
  if constexpr (kMost >= 2)
    if (block.count == 2) return run(Kind<kSamples, kStep, 2>(block));
  if constexpr (kMost >= 4)
    if (block.count == 4) return run(Kind<kSamples, kStep, 4>(block));
  run(Kind<kSamples, kStep, 0>(block));
}

// run(kind) for the kind of mean.
template <class Run>
DORBMP_INLINE void by_kind(const LineBlock& block, MeanSamples samples, Run run) {
  if (samples.step == 1) return samples.count == 1 ? by_lines<1, 1>(block, run) : by_lines<2, 1>(block, run);
  switch (samples.count) {
    case 2:
      return by_lines<2, 2>(block, run);
    case 4:
      return by_lines<4, 4>(block, run);
    case 8:
      return by_lines<8, 8>(block, run);
    default:
      return by_lines<16, 16>(block, run);
  }
}

// add(line) for each line, from a byte on. Those that will be wanted next are asked for meanwhile, once for
// 64 bytes.
template <class Of, class Add>
DORBMP_INLINE void each_line(const Of& of, ptrdiff_t from, Add add) {
  const uint8_t* line = of.block.lines + from;
  const ptrdiff_t pitch = of.block.pitch, next = of.lines() * pitch;
  for (int32_t n = 0; n < of.lines(); ++n, line += pitch) {
    if (Of::step > 1 && from % 64 == 0) DORBMP_PREFETCH(line + next);
    add(line);
  }
}

// Sixteen sums of neighbours, from 32 words of so many channels.
template <int Channels>
DORBMP_INLINE __m256i add_neighbours(__m256i low, __m256i high) {
  if constexpr (Channels == 1) {
    const __m256i ones = _mm256_set1_epi16(1);
    return swap_middle(_mm256_packus_epi32(_mm256_madd_epi16(low, ones), _mm256_madd_epi16(high, ones)));
  }
  if constexpr (Channels == 2)
    return swap_middle(_mm256_add_epi16(even_lanes(low, high), odd_lanes(low, high)));
  return swap_middle(_mm256_add_epi16(_mm256_unpacklo_epi64(low, high), _mm256_unpackhi_epi64(low, high)));
}

// ---- Bytes ----

// Sixteen sums over so many neighbouring samples each, and the lines.
template <int Samples, int Channels, class Of>
DORBMP_INLINE __m256i sixteen_sums(const Of& of, ptrdiff_t from) {
  if constexpr (Samples > 2) {
    return add_neighbours<Channels>(sixteen_sums<Samples / 2, Channels>(of, from),
                                    sixteen_sums<Samples / 2, Channels>(of, from + 8 * Samples));
  } else {
    const __m128i pairs = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    __m256i sums = {};
    each_line(of, from, [&](const uint8_t* line) {
      __m256i bytes = load(line);
      if (Channels == 4) bytes = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(pairs));
      sums = _mm256_add_epi16(sums, _mm256_maddubs_epi16(bytes, _mm256_set1_epi8(1)));
    });
    return sums;
  }
}

// Thirty-two means of bytes.
template <int Channels, class Of>
DORBMP_INLINE __m256i means(const Of& of, ptrdiff_t from, __m128i bits) {
  const auto narrow = [&](__m256i low, __m256i high) {
    return _mm256_packus_epi16(_mm256_srl_epi16(low, bits), _mm256_srl_epi16(high, bits));
  };
  if constexpr (Of::step > 1) {
    return swap_middle(narrow(sixteen_sums<Of::samples, Channels>(of, from),
                              sixteen_sums<Of::samples, Channels>(of, from + 16 * Of::samples)));
  }
  // Bytes to be added together come from two loads.
  __m256i low = {}, high = {};
  const auto add = [&](__m256i a, __m256i b) {
    const __m256i ones = _mm256_set1_epi8(1);
    low = _mm256_add_epi16(low, _mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), ones));
    high = _mm256_add_epi16(high, _mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), ones));
  };
  if constexpr (Of::one_byte) return load(of.block.lines + from);
  __m256i above = {};
  int32_t n = 0;
  each_line(of, from, [&](const uint8_t* line) {
    if (Of::samples == 2) {
      add(load(line), load(line + Channels));
    } else if (n++ % 2 == 0) {
      above = load(line);
    } else {
      add(above, load(line));
    }
  });
  return narrow(low, high);
}

// put(means, from) for some bytes of pixels, the last 32 over again where they do not divide into such.
template <int Channels, class Put>
DORBMP_INLINE void each_mean(const LineBlock& block, MeanSamples samples, int32_t bytes, Put put) {
  const __m128i bits = _mm_cvtsi32_si128(mean_bits(block, samples));
  by_kind(block, samples, [=](auto of) DORBMP_INLINE_LAMBDA {
    for (int32_t i = 0; i < bytes; i += 32) {
      const int32_t from = std::min(i, bytes - 32);
      if (of.step == 1) DORBMP_PREFETCH(of.next + from);
      put(means<Channels>(of, ptrdiff_t{from} * of.step, bits), from);
    }
  });
}

// ---- Pairs ----

// Luma words of sixteen pixels, and chroma for each of them.
struct Sixteen {
  __m256i luma, chroma[2];
};

template <int Samples, class Of>
DORBMP_INLINE Sixteen sixteen_pixels(const Of& of, ptrdiff_t from) {
  if constexpr (Samples == 2) {
    __m256i luma[2] = {}, chroma[2] = {};
    each_line(of, from, [&](const uint8_t* line) {
      for (int v = 0; v < 2; ++v) {
        const __m256i pairs = load(line + 32 * v);
        luma[v] = _mm256_add_epi16(luma[v], _mm256_and_si256(pairs, _mm256_set1_epi16(255)));
        chroma[v] = _mm256_add_epi16(chroma[v], _mm256_srli_epi16(pairs, 8));
      }
    });
    return {add_neighbours<1>(luma[0], luma[1]), {chroma[0], chroma[1]}};
  } else if constexpr (Samples == 4) {
    // Neighbouring luma bytes of four pairs, and the chroma of two pairs and of two.
    const __m128i order = _mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 5, 3, 7, 9, 13, 11, 15);
    __m256i sums[4] = {};
    for (int v = 0; v < 4; ++v) {
      each_line(of, from + 32 * v, [&](const uint8_t* line) {
        const __m256i bytes = _mm256_shuffle_epi8(load(line), _mm256_broadcastsi128_si256(order));
        sums[v] = _mm256_add_epi16(sums[v], _mm256_maddubs_epi16(bytes, _mm256_set1_epi8(1)));
      });
    }
    const auto luma = [&](int v) { return swap_middle(_mm256_unpacklo_epi64(sums[v], sums[v + 1])); };
    const auto chroma = [&](int v) { return swap_middle(_mm256_unpackhi_epi64(sums[v], sums[v + 1])); };
    return {add_neighbours<1>(luma(0), luma(2)), {chroma(0), chroma(2)}};
  } else {
    const Sixteen low = sixteen_pixels<Samples / 2>(of, from);
    const Sixteen high = sixteen_pixels<Samples / 2>(of, from + 16 * Samples);
    return {
        add_neighbours<1>(low.luma, high.luma),
        {add_neighbours<2>(low.chroma[0], low.chroma[1]), add_neighbours<2>(high.chroma[0], high.chroma[1])}};
  }
}

// The same at 1:1. odd: the first sample is the second one of its pair.
template <int Odd, class Of>
DORBMP_INLINE PairSums sixteen_shifted(const Of& of, ptrdiff_t from) {
  __m256i luma = {}, own = {}, next = {};
  each_line(of, from, [&](const uint8_t* line) {
    for (int i = Odd; i < Odd + Of::samples; ++i)
      luma = _mm256_add_epi16(luma, _mm256_and_si256(load(line + 2 * i), _mm256_set1_epi16(255)));
    own = _mm256_add_epi16(own, _mm256_srli_epi16(load(line), 8));
    if (Of::samples == 2 || Odd != 0) next = _mm256_add_epi16(next, _mm256_srli_epi16(load(line + 4), 8));
  });
  if (Of::samples == 1) return {luma, own, Odd != 0 ? next : own};
  const __m256i both = _mm256_add_epi16(own, next);
  return Odd != 0 ? PairSums{luma, both, next} : PairSums{luma, own, both};
}

template <int Odd, class Of>
DORBMP_INLINE PairSums pair_sums(const Of& of, ptrdiff_t from) {
  if constexpr (Of::step == 1) {
    return sixteen_shifted<Odd>(of, from);
  } else {
    const Sixteen sums = sixteen_pixels<Of::samples>(of, from);
    return {sums.luma, swap_middle(even_lanes(sums.chroma[0], sums.chroma[1])),
            swap_middle(odd_lanes(sums.chroma[0], sums.chroma[1]))};
  }
}

// How many bits less there are of the chroma of the first and the second pixel of a pair: two samples of one
// pair count once.
PairMeans pair_means(int bits, MeanSamples samples, int odd) {
  const int half_bits = bits - 1;
  if (samples.step > 1) return {bits, half_bits, half_bits};
  if (samples.count == 1) return {bits, bits, bits};
  return odd != 0 ? PairMeans{bits, bits, half_bits} : PairMeans{bits, half_bits, bits};
}

}  // namespace

void mean_mono8(const LineBlock& block, MeanSamples samples, int32_t pixels, uint8_t* row) {
  if (pixels < 32) return plain::mean_mono8(block, samples, pixels, row);
  each_mean<1>(block, samples, pixels, [=](__m256i means, int32_t from) { store(row + from, means); });
}

void mean_rgb32(const LineBlock& block, MeanSamples samples, int32_t pixels, uint8_t* row, uint16_t* cover) {
  if (pixels < 8) return plain::mean_rgb32(block, samples, pixels, row, cover);
  const __m256i byte_3 = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000));
  each_mean<4>(block, samples, 4 * pixels, [=](__m256i means, int32_t from) {
    store(row + from, _mm256_blendv_epi8(means, load(row + from), byte_3));
    store_half(cover + from / 4, _mm_set1_epi16(kPixelUnits));
  });
}

void mean_yuy2(const LineBlock& block, MeanSamples samples, int odd, int32_t pairs, uint8_t* row,
               uint16_t* cover) {
  const int32_t last = 2 * pairs - 16;
  if (last < 0) return plain::mean_yuy2(block, samples, odd, pairs, row, cover);
  const PairMeans means = pair_means(mean_bits(block, samples), samples, odd);
  // The last sixteen are worked out before any of them is painted.
  uint8_t last_row[32];
  uint16_t last_cover[16];
  store(last_row, load(row + 2 * last));
  store(last_cover, load(cover + last));
  uint8_t* const to_last = last_row;
  uint16_t* const cover_last = last_cover;
  by_kind(block, samples, [=](auto of) DORBMP_INLINE_LAMBDA {
    const auto run = [=](auto is_odd) DORBMP_INLINE_LAMBDA {
      for (int32_t i = -16; i < last; i += 16) {
        const int32_t from = i < 0 ? last : i;
        if (of.step == 1) DORBMP_PREFETCH(of.next + 2 * from);
        means.put(pair_sums<is_odd>(of, ptrdiff_t{2} * from * of.step), i < 0 ? to_last : row + 2 * i,
                  i < 0 ? cover_last : cover + i);
      }
    };
    of.step == 1 && odd != 0 ? run(std::integral_constant<int, 1>()) : run(std::integral_constant<int, 0>());
  });
  store(row + 2 * last, load(last_row));
  store(cover + last, load(last_cover));
}

}  // namespace dorbmp::mapping::avx2
