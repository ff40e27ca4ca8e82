#include <xmmintrin.h>

#include "dorbmp/cpu/mmx.h"
#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp::spans::mmxext {

// Sums are formed in 16 bits: weight 0..128, terms at most 255 * 128.
void BMP_CALL fade_yuy2(uint8_t* line, int32_t weight, int32_t y_term, int32_t u_term, int32_t v_term,
                        int32_t count) {
  const MmxScope scope;
  const __m64 weights = _mm_shuffle_pi16(from_integer(weight), 0);
  const __m64 terms = _mm_set_pi16(static_cast<int16_t>(v_term), static_cast<int16_t>(y_term),
                                   static_cast<int16_t>(u_term), static_cast<int16_t>(y_term));
  for (; count > 0; --count, line += 4) {
    const __m64 bytes = widen_low(load_4_bytes(line));
    const __m64 sums = _mm_add_pi16(_mm_mullo_pi16(bytes, weights), terms);
    const __m64 faded = _mm_srli_pi16(sums, 7);
    store_4_bytes(line, _mm_packs_pu16(faded, faded));
  }
}

}  // namespace dorbmp::spans::mmxext
