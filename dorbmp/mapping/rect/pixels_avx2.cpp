// Rows of sums to pixels, in AVX2: the bytes of the plain kernels. Nothing beyond the given pixels is
// touched; rows end with the plain arithmetic.
#include "dorbmp/mapping/rect/blend_avx2.h"
#include "dorbmp/mapping/rect/kernels.h"
#include "dorbmp/mapping/rect/vectors_avx2.h"

namespace dorbmp::mapping::avx2 {
namespace {

// Four vectors of means to bytes, in order.
DORBMP_INLINE __m256i narrow(__m256i a, __m256i b, __m256i c, __m256i d) {
  const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, d));
  return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
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

void put_yuy2_blended(const WeighedRows& luma, const WeighedRows& chroma, int32_t pairs, uint8_t* row,
                      uint16_t* cover) {
  const auto put = [&](const auto& y_rows, const auto& uv_rows) {
    int32_t i = 0;
    for (; i + 8 <= 2 * pairs; i += 8) {
      const __m256i low = uv_rows.at(2 * i), high = uv_rows.at(2 * i + 8);
      const __m256i first = swap_middle(_mm256_unpacklo_epi64(low, high));
      const __m256i second = swap_middle(_mm256_unpackhi_epi64(low, high));
      blend_pairs(y_rows.at(i), first, second, row + 2 * i, cover + i);
    }
    return i;
  };
  const int32_t done = by_row_count(luma.count, put, luma, chroma);
  plain::put_yuy2_blended(luma.from(done), chroma.from(2 * done), pairs - done / 2, row + 2 * done,
                          cover + done);
}

}  // namespace dorbmp::mapping::avx2
