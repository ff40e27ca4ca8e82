#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "models/compose_model.h"
#include "support/frames.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

// Outer keys at least as large as the inner ones, as callers keep them.
void raise_above(Frame& border, Frame& key) {
  for (int y = 0; y < key->height; ++y) {
    for (int x = 0; x < key->width; ++x) {
      border.set(x, y, std::max(border.at<uint16_t>(x, y), key.at<uint16_t>(x, y)));
    }
  }
}

TEST(ComposeColor, EveryRowOfTheTableFollowsItsFormula) {
  constexpr Layout kLayouts[] = {{}, {.offset = 2, .extra_pitch = 2}, {.offset = 5}};
  for (const Setting& setting : kSettings) {
    const int level = setting.level;
    for (uint64_t seed = 0; seed < 420; ++seed) {
      for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
        Random random(seed);
        const int width = static_cast<int>(seed % 70) + 1;
        const int height = random.between(1, 5);
        const uint32_t flags = static_cast<uint32_t>(random.between(0, 3));
        const uint32_t color = random.next();
        const auto layout = [&] { return kLayouts[random.between(0, std::size(kLayouts) - 1)]; };
        Frame background(width, height, format, random, layout()),
            foreground(width, height, format, random, layout());
        Frame separate(width, height, format, random, layout());
        Frame key(width, height, BMP_FORMAT_KEY16, random, layout()),
            border(width, height, BMP_FORMAT_KEY16, random, layout());
        key.fill_keys16(random);
        border.fill_keys16(random);
        raise_above(border, key);

        const bool bordered = random.chance(2);
        const int in_place = random.between(0, 2);
        Frame& dst = in_place == 1 ? background : in_place == 2 && bordered ? foreground : separate;
        const auto expected = model_compose_color(level, dst, background, foreground, key,
                                                  bordered ? std::addressof(border) : nullptr, color, flags);
        const AtLevel at(setting);
        bmp_compose_color(&dst, &background, bordered ? &foreground : nullptr, &key,
                          bordered ? &border : nullptr, color, flags);
        EXPECT_TRUE(x87_is_empty());
        EXPECT_EQ(difference(expected, dst), "")
            << "seed " << seed << ", level " << level << ", format " << format << ", bordered " << bordered;
      }
    }
  }
}

// A pair with keys 1.0 and 0 shows half of the colour in its chroma, unlike keyed composition.
TEST(ComposeColor, ChromaFollowsBothKeysOfThePair) {
  Random random(1);
  for (const Setting& setting : kSettings) {
    Frame image(4, 1, BMP_FORMAT_YUY2, random), key(4, 1, BMP_FORMAT_KEY16, random);
    image.set<uint32_t>(0, 0, 0x50206040);  // Y0 0x40, U 0x60, Y1 0x20, V 0x50
    key.set<uint32_t>(0, 0, 0x00001000);
    const AtLevel at(setting);
    bmp_compose_color(&image, &image, nullptr, &key, nullptr, 0x00C0A080, 0);
    EXPECT_EQ(image.at<uint8_t>(0, 0), 0x40);
    EXPECT_EQ(image.at<uint8_t>(1, 0), 0x80);
    EXPECT_EQ(image.at<uint8_t>(2, 0), 0xC0);
    EXPECT_EQ(image.at<uint8_t>(3, 0), 0x68);
  }
}

// Weights below 0 and above the scale: plain code as its formulas say, the vector families and the twins
// alike.
TEST(ComposeColor, KeysOffTheScale) {
  Random random(3);
  for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    for (const bool bordered : {false, true}) {
      Frame background(67, 9, format, random), foreground(67, 9, format, random), dst(67, 9, format, random);
      Frame key(67, 9, BMP_FORMAT_KEY16, random), border(67, 9, BMP_FORMAT_KEY16, random);
      const std::vector<uint8_t> before = dst.bytes();
      std::vector<uint8_t> expected;
      for (const Setting& setting : kSettings) {
        dst.set_bytes(before);
        if (setting.level == 0) {
          expected = model_compose_color(0, dst, background, foreground, key,
                                         bordered ? std::addressof(border) : nullptr, 0xC58213F7, 0);
        }
        const AtLevel at(setting);
        bmp_compose_color(&dst, &background, &foreground, &key, bordered ? &border : nullptr, 0xC58213F7, 0);
        // Over a colour, RGB32 is plain at every level.
        if (setting.level == 1 && (bordered || format == BMP_FORMAT_YUY2)) expected = dst.bytes();
        EXPECT_EQ(difference(expected, dst), "")
            << "format " << format << ", bordered " << bordered << ", level " << setting.level;
      }
    }
  }
}

TEST(ComposeColor, DrawsNothingWhereItCannot) {
  Random random(2);
  for (const Setting& setting : kSettings) {
    const AtLevel at(setting);
    for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_KEY16, BMP_FORMAT_KEY8}) {
      Frame dst(24, 4, format, random), image(24, 4, format, random), small(2, 4, format, random);
      Frame key(24, 4, BMP_FORMAT_KEY16, random), small_key(8, 4, BMP_FORMAT_KEY16, random);
      const auto before = dst.bytes();
      bmp_compose_color(&dst, &small, nullptr, &key, nullptr, 1, 0);
      bmp_compose_color(&dst, &image, nullptr, &small_key, nullptr, 1, 0);
      bmp_compose_color(&dst, &small, &image, &key, &key, 1, 0);
      bmp_compose_color(&dst, &image, &small, &key, &key, 1, 0);
      bmp_compose_color(&dst, &image, &image, &key, &small_key, 1, 0);
      key->width = 23;
      bmp_compose_color(&dst, &image, &image, &key, nullptr, 1, 0);
      key->width = 24;
      if (format > BMP_FORMAT_RGB32) bmp_compose_color(&dst, &image, &image, &key, &key, 1, 0);
      EXPECT_EQ(difference(before, dst), "") << "format " << format;
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
