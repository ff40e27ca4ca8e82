#include "dorbmp/fixed.h"
#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp::spans::plain {

void BMP_CALL fade_yuy2(uint8_t* line, int32_t weight, int32_t y_term, int32_t u_term, int32_t v_term,
                        int32_t count) {
  const auto fade = [weight](uint8_t& byte, int32_t term) {
    byte = static_cast<uint8_t>(floor_shift<12>(byte * weight + term));
  };
  for (; count > 0; --count, line += 4) {
    fade(line[0], y_term);
    fade(line[1], u_term);
    fade(line[2], y_term);
    fade(line[3], v_term);
  }
}

}  // namespace dorbmp::spans::plain
