#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

// Every front end, format, key and level, on frames that pass and that fail the alignment test.
TEST(Golden, Compose) {
  for (int level = 0; level <= kHighestLevel; ++level) {
    const AtLevel at(level);
    for (const int extra_pitch : {0, 4}) {
      for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
        Random random(7);
        const Layout layout{.extra_pitch = extra_pitch};
        Frame background(61, 33, format, random, layout), foreground(61, 33, format, random, layout);
        Frame key16(61, 33, BMP_FORMAT_KEY16, random, layout),
            border(61, 33, BMP_FORMAT_KEY16, random, layout);
        Frame key8(61, 33, BMP_FORMAT_KEY8, random, layout), dst(61, 33, format, random, layout);
        key16.fill_keys16(random);
        border.fill_keys16(random);
        key8.fill_keys8(random);
        const auto before = dst.bytes();
        for (uint32_t flags = 0; flags < 4; ++flags) {
          const auto check = [&](const char* name, auto draw) {
            dst.set_bytes(before);
            draw();
            expect_golden(std::string("compose/") + name + (format == BMP_FORMAT_YUY2 ? "/yuy2" : "/rgb32") +
                              (extra_pitch == 0 ? "/aligned" : "/unaligned") + "/flags" +
                              std::to_string(flags) + "/level" + std::to_string(level),
                          dst);
          };
          check("key16", [&] { bmp_compose(&dst, &background, &foreground, &key16, flags); });
          check("key8", [&] { bmp_compose(&dst, &background, &foreground, &key8, flags); });
          check("mix", [&] {
            bmp_compose(&dst, &background, &foreground, BMP_LEVEL(1234), flags | BMP_COMPOSE_MIX);
          });
          check("color",
                [&] { bmp_compose_color(&dst, &background, nullptr, &key16, nullptr, 0x91C04A7F, flags); });
          check("border", [&] {
            bmp_compose_color(&dst, &background, &foreground, &key16, &border, 0x91C04A7F, flags);
          });
        }
      }
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
