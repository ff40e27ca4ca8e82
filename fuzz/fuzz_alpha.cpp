// bmp_alpha_rect and bmp_alpha_circle with floats of any bits.
#include "input.h"

using namespace dorbmp;
using namespace dorbmp::fuzz;

namespace {

void draw(Input& input) {
  const Size size(input);
  // Other formats are not key planes, but no reason to write outside them.
  Picture plane(input, input.below(8) == 0 ? input.below(8) : uint32_t{BMP_FORMAT_KEY16}, size, 0, 2);
  float f[6];
  for (float& value : f) value = input.real();
  if (input.below(2) == 0) {
    constexpr uint32_t kShapes[] = {0, BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT, BMP_ALPHA_ROUNDED | BMP_ALPHA_HARD,
                                    BMP_ALPHA_ROUNDED};
    const uint32_t flags = input.flags() | kShapes[input.below(4)] | (input.below(2) ? BMP_ALPHA_COSINE : 0);
    bmp_alpha_rect(&plane, f[0], f[1], f[2], f[3], f[4], f[5], flags);
  } else {
    bmp_alpha_circle(&plane, f[0], f[1], f[2], f[3], f[4],
                     input.flags() | (input.below(2) ? BMP_ALPHA_COSINE : 0));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  while (!input.is_empty()) draw(input);
  return 0;
}
