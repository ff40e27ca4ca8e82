#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "support/golden.h"

namespace dorbmp::test {
namespace {

struct Mapping {
  const char* name;
  std::array<float, 4> dst, src;
  uint32_t flags;
};

// Magnified, minified, 1:1 at a fraction, clipped at both ends, one field, turned over.
constexpr Mapping kMappings[] = {
    {"magnified", {3.3f, 2.7f, 290.1f, 60.4f}, {5.1f, 4.9f, 101.7f, 33.2f}, 0},
    {"minified", {10.25f, 3.5f, 150.8f, 31.9f}, {0, 0, 301, 67}, 0},
    {"shifted", {0, 0, 300, 66}, {0.5f, 0.5f, 300.5f, 66.5f}, 0},
    {"clipped", {-20.5f, -7.25f, 333.3f, 80}, {-11, 13.7f, 310, 71.3f}, 0},
    {"odd_field", {1, 1.5f, 288.5f, 64}, {7, 0, 250, 67}, 3},
    {"even_field", {1, 1.5f, 288.5f, 64}, {7, 20, 250, 40}, 2},
    {"turned_over", {-4, -3, 9, 6}, {2, 1, -20, -20}, 0},
};

// Twice over one coverage plane: onto nothing, and onto what is there.
TEST(Golden, MapRect) {
  for (const uint32_t format : {BMP_FORMAT_PAL8, BMP_FORMAT_RGB32, BMP_FORMAT_YUY2}) {
    Random random(format);
    Frame src(301, 67, format, random, {.field_mode = 2}), dst(299, 66, format, random);
    Frame cover(299, 66, BMP_FORMAT_KEY16, random);
    Bitmap* const plane = format != BMP_FORMAT_PAL8 ? std::addressof(cover.bitmap()) : nullptr;
    for (const Mapping& m : kMappings) {
      bmp_clear(&cover, 0);
      const std::string name = std::string("rect/") + m.name + "/format" + std::to_string(format);
      for (const char* time : {"/first", "/again"}) {
        bmp_map_rect(&dst, plane, m.dst[0], m.dst[1], m.dst[2], m.dst[3], &src, nullptr, m.src[0], m.src[1],
                     m.src[2], m.src[3], m.flags);
        expect_golden(name + time, dst);
        if (plane != nullptr) expect_golden(name + time + "/cover", cover);
      }
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
