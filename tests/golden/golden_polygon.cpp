#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

struct Pair {
  const char* name;
  uint32_t texture, dst;
};
constexpr Pair kPairs[] = {{"yuy2", BMP_FORMAT_YUY2, BMP_FORMAT_YUY2},
                           {"rgb32", BMP_FORMAT_RGB32, BMP_FORMAT_RGB32},
                           {"key16", BMP_FORMAT_KEY16, BMP_FORMAT_KEY16},
                           {"matte_yuy2", BMP_FORMAT_KEY8, BMP_FORMAT_YUY2},
                           {"matte_rgb32", BMP_FORMAT_KEY8, BMP_FORMAT_RGB32}};

// A turned quad of the texture, shrunk by across and down.
void draw(Frame& dst, Bitmap* cover, Bitmap* matte, Frame& texture, float across, float down, float tilt,
          uint32_t flags) {
  const float w = static_cast<float>(texture->width), h = static_cast<float>(texture->height);
  const float x = w / across, y = h / down;
  const PolygonVertex quad[] = {{0, 0, 1, 5.3f, 4.1f},
                                {w, 0, 1 + tilt, 5.3f + 0.96f * x, 4.1f + 0.2f * y},
                                {w, h, 1 + 2 * tilt, 3.9f + 0.81f * x, 4.1f + 1.15f * y},
                                {0, h, 1 - tilt, 3.9f - 0.15f * x, 4.1f + 0.95f * y}};
  const bool is_matte = texture->format == BMP_FORMAT_KEY8;
  bmp_map_polygon(&dst, cover, matte, is_matte ? BMP_VALUE(0x30C85A) : &texture, &texture, quad, 4,
                  flags | (is_matte ? uint32_t{BMP_MAP_AUX} : 0u));
}

TEST(Golden, Polygon) {
  for (int level = 0; level <= kHighestLevel; ++level) {
    const AtLevel at(level);
    for (const Pair& pair : kPairs) {
      Random random(7);
      Frame texture(121, 83, pair.texture, random), dst(140, 110, pair.dst, random);
      Frame cover(140, 110, BMP_FORMAT_KEY16, random), matte(140, 110, BMP_FORMAT_RGB32, random);
      const std::string end = std::string("_") + pair.name + "/level" + std::to_string(level);
      for (const float tilt : {0.0f, 0.15f}) {
        const std::string mapping = tilt == 0.0f ? "affine" : "perspective";
        for (const float across : {1.0f, 1.7f, 2.4f, 4.1f, 7.0f}) {
          for (const float down : {1.0f, 1.2f, 2.1f, 3.3f})
            draw(dst, nullptr, nullptr, texture, across, down, tilt, 0);
        }
        expect_golden("polygon/" + mapping + "_filters" + end, dst);
        draw(dst, nullptr, nullptr, texture, 1.1f, 0.9f, tilt, BMP_MAP_NEAREST | 3);
        expect_golden("polygon/" + mapping + "_nearest" + end, dst);
        draw(dst, &cover, nullptr, texture, 1.3f, 0.9f, tilt, BMP_MAP_SMOOTH | 2);
        draw(dst, nullptr, nullptr, texture, 3.0f, 1.1f, tilt, BMP_MAP_SMOOTH);
        expect_golden("polygon/" + mapping + "_smooth" + end, dst);
      }
      expect_golden("polygon/cover" + end, cover);
      for (int y = 0; y < 110; ++y) {
        for (int x = 0; x < 140; ++x) matte.set(x, y, static_cast<float>((x * 7 + y * 3) % 16) * 0.1f);
      }
      if (pair.texture == BMP_FORMAT_KEY8) continue;
      draw(dst, nullptr, &matte, texture, 1.1f, 1.2f, 0.1f, 0);
      draw(dst, nullptr, &matte, texture, 1.4f, 0.9f, 0.0f, 0);
      expect_golden("polygon/depth" + end, dst);
      expect_golden("polygon/depths" + end, matte);
    }
  }
}

TEST(Golden, PolygonOneValue) {
  Random random(8);
  for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    Frame dst(90, 70, format, random), cover(90, 70, BMP_FORMAT_KEY8, random);
    const PolygonVertex star[] = {{0, 0, 1, 40.3f, 3.2f}, {0, 0, 1, 88.1f, 30.7f}, {0, 0, 1, 9.6f, 66.6f}};
    bmp_map_polygon(&dst, nullptr, nullptr, BMP_VALUE(0x30C85A), BMP_VALUE(2100), star, 3, BMP_MAP_ONE_VALUE);
    bmp_map_polygon(&dst, &cover, nullptr, BMP_VALUE(0xC8305A), BMP_VALUE(3000), star, 3,
                    BMP_MAP_ONE_VALUE | 3);
    const std::string end = format == BMP_FORMAT_YUY2 ? "_yuy2" : "_rgb32";
    expect_golden("polygon/one_value" + end, dst);
    expect_golden("polygon/one_value_cover" + end, cover);
  }
}

}  // namespace
}  // namespace dorbmp::test
