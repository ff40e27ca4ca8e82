// bmp_compose and bmp_compose_color: any formats, sizes, levels and flags, keys on and off their scale, in
// place or not.
#include "input.h"

using namespace dorbmp;
using namespace dorbmp::fuzz;

namespace {

constexpr uint32_t kAnyValue = 0;

void draw(Input& input) {
  const uint32_t format = input.below(8);
  const Size size(input);
  const auto same_or_other = [&] { return input.below(8) == 0 ? Size(input) : size; };
  Picture destination(input, format, size);
  Picture background(input, input.below(8) == 0 ? input.below(8) : format, same_or_other());
  Picture foreground(input, input.below(8) == 0 ? input.below(8) : format, same_or_other());
  const uint32_t key_format = input.below(4) == 0 ? input.below(8) : input.below(2) == 0 ? 2 : 7;
  Picture key(input, key_format, same_or_other(), kAnyValue);
  Picture border(input, BMP_FORMAT_KEY16, same_or_other(), input.below(2) == 0 ? kAnyValue : 4097);
  Bitmap* to = input.below(4) == 0 ? &background : input.below(4) == 0 ? &foreground : &destination;
  switch (input.below(4)) {
    case 0:
      bmp_compose(to, &background, &foreground,
                  BMP_LEVEL(input.below(2) == 0 ? input.take<uint32_t>() : 1024),
                  input.flags() | BMP_COMPOSE_MIX);
      break;
    case 1:
      bmp_compose(to, &background, &foreground, &key, input.flags() & ~BMP_COMPOSE_MIX);
      break;
    case 2:
      bmp_compose_color(to, &background, &foreground, &key, &border, input.take<uint32_t>(), input.flags());
      break;
    default:
      bmp_compose_color(to, &background, nullptr, &key, nullptr, input.take<uint32_t>(), input.flags());
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const test::AtLevel at(setting(input));
  while (!input.is_empty()) draw(input);
  return 0;
}
