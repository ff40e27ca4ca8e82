// Packed 4:2:2 composition in MMX with the integer instructions that came with SSE: the values of the MMX
// family, byte for byte. No XMM register may be touched: the system may not save them.
#include <xmmintrin.h>

#include "dorbmp/compose/each_row.h"
#include "dorbmp/compose/kernels.h"
#include "dorbmp/compose/rows_mmx.h"

namespace dorbmp::compose::mmxext {
namespace {

struct SpreadByShuffle {
  static DORBMP_INLINE __m64 first_pair(__m64 keys) {
    return _mm_shuffle_pi16(keys, _MM_SHUFFLE(0, 1, 0, 0));
  }
  static DORBMP_INLINE __m64 second_pair(__m64 keys) {
    return _mm_shuffle_pi16(keys, _MM_SHUFFLE(2, 3, 2, 2));
  }
};

}  // namespace

void BMP_CALL key16_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  const MmxScope scope;
  each_row(
      rows, [count](auto... row) { key16_yuy2_row<SpreadByShuffle>(count, row...); },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 2));
}

void BMP_CALL key8_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                        const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                        ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  const MmxScope scope;
  each_row(
      rows, [count](auto... row) { key8_yuy2_row<SpreadByShuffle>(count, row...); },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 1));
}

}  // namespace dorbmp::compose::mmxext
