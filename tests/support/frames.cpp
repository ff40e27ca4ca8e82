#include "support/frames.h"

#include <sstream>

namespace dorbmp::test {

std::string difference(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& got,
                       const Bitmap& bitmap, size_t offset) {
  for (size_t i = 0; i < expected.size(); ++i) {
    if (expected[i] == got[i]) continue;
    std::ostringstream text;
    text << "expected " << int{expected[i]} << ", got " << int{got[i]};
    if (i < offset || bitmap.pitch == 0) {
      text << " before line 0";
    } else {
      const size_t pitch = static_cast<size_t>(bitmap.pitch);
      const size_t column = (i - offset) % pitch;
      text << " at line " << (i - offset) / pitch << ", byte " << column << " (pixel "
           << column / static_cast<size_t>(bitmap.bytes_per_pixel) << " of " << bitmap.width << ")";
    }
    return text.str();
  }
  return {};
}

bool x87_is_empty() {
  struct {
    uint32_t control, status, tag, rest[4];
  } environment;
  __asm__ volatile("fnstenv %0\n\tfldenv %0" : "=m"(environment) : : "memory");
  return (environment.tag & 0xFFFF) == 0xFFFF;
}

}  // namespace dorbmp::test
