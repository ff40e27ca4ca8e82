#include <gtest/gtest.h>

#include "models/compose_model.h"
#include "support/frames.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

// Layouts that pass and that fail the alignment test, by address and by pitch.
constexpr Layout kLayouts[] = {{},
                               {.offset = 4},
                               {.extra_pitch = 4},
                               {.offset = 1, .extra_pitch = 3},
                               {.offset = 8},
                               {.extra_pitch = 8}};

Layout any_layout(Random& random) {
  return random.chance(2) ? Layout{} : kLayouts[random.between(0, std::size(kLayouts) - 1)];
}

std::string describe(uint64_t seed, int level, const Frame& dst, uint32_t flags) {
  Bitmap& bitmap = const_cast<Frame&>(dst).bitmap();
  return "seed " + std::to_string(seed) + ", level " + std::to_string(level) + ", format " +
         std::to_string(bitmap.format) + ", " + std::to_string(bitmap.width) + " x " +
         std::to_string(bitmap.height) + ", flags " + std::to_string(flags);
}

// Which source the destination is.
enum class InPlace { kNo, kBackground, kForeground };

struct Case {
  uint64_t seed;
  Setting setting;
  uint32_t format;
  uint32_t key_format;  // BMP_FORMAT_PAL8 stands for the constant mix
};

void check_case(const Case& c) {
  Random random(c.seed);
  const int width = static_cast<int>(c.seed % 70) + 1;
  const int height = random.between(1, 5);
  const uint32_t flags = static_cast<uint32_t>(random.between(0, 3));
  Frame background(width, height, c.format, random, any_layout(random));
  Frame foreground(width, height, c.format, random, any_layout(random));
  Frame key(width, height, c.key_format, random, any_layout(random));
  Frame separate(width, height, c.format, random, any_layout(random));
  c.key_format == BMP_FORMAT_KEY8 ? key.fill_keys8(random) : key.fill_keys16(random);

  const auto in_place = static_cast<InPlace>(random.between(0, 2));
  Frame& dst = in_place == InPlace::kBackground   ? background
               : in_place == InPlace::kForeground ? foreground
                                                  : separate;
  const bool mix = c.key_format == BMP_FORMAT_PAL8;
  const int32_t mix_level = random.chance(3) ? random.between(0, 1) * 4096 : random.between(0, 4096);
  // A mix counts whole pitches, in steps of four bytes: one geometry for all.
  if (mix && (background->pitch != separate->pitch || foreground->pitch != separate->pitch ||
              separate->pitch % 4 != 0)) {
    return;
  }

  const std::vector<uint8_t> expected =
      mix ? model_mix(c.setting.level, dst, background, foreground, mix_level, flags)
          : model_compose(c.setting.level, dst, background, foreground, key, flags);
  const AtLevel at(c.setting);
  if (mix) {
    bmp_compose(&dst, &background, &foreground, BMP_LEVEL(mix_level), flags | BMP_COMPOSE_MIX);
  } else {
    bmp_compose(&dst, &background, &foreground, &key, flags);
  }
  EXPECT_TRUE(x87_is_empty());
  EXPECT_EQ(difference(expected, dst), "") << describe(c.seed, c.setting.level, dst, flags);
}

TEST(Compose, EveryRowOfTheTableFollowsItsFormula) {
  for (const Setting& setting : kSettings) {
    for (uint64_t seed = 0; seed < 840; ++seed) {
      for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
        for (const uint32_t key : {BMP_FORMAT_KEY16, BMP_FORMAT_KEY8})
          check_case({seed, setting, format, key});
      }
      check_case({seed, setting, static_cast<uint32_t>(seed % 8), BMP_FORMAT_PAL8});
    }
  }
}

// One aligned frame of 257 x 129 pixels holds every foreground byte with a dense set of keys.
TEST(Compose, EveryByteMeetsEveryKeyOfTheSmallScale) {
  Random random(1);
  for (const Setting& setting : kSettings) {
    const int level = setting.level;
    Frame background(256, 129, BMP_FORMAT_YUY2, random), foreground(256, 129, BMP_FORMAT_YUY2, random);
    Frame key8(256, 129, BMP_FORMAT_KEY8, random), dst(256, 129, BMP_FORMAT_YUY2, random);
    for (int y = 0; y < 129; ++y) {
      for (int x = 0; x < 256; ++x) {
        foreground.set(x, y, static_cast<uint16_t>(x * 257));
        key8.set(x, y, static_cast<uint8_t>(y));
      }
    }
    const auto expected = model_compose(level, dst, background, foreground, key8, 0);
    const AtLevel at(setting);
    bmp_compose(&dst, &background, &foreground, &key8, 0);
    EXPECT_EQ(difference(expected, dst), "") << "level " << level;
  }
}

uint8_t compose_one_luma(uint8_t foreground, uint8_t background, uint16_t key, Setting setting) {
  Random random(2);
  Frame f(8, 1, BMP_FORMAT_YUY2, random), b(8, 1, BMP_FORMAT_YUY2, random), k(8, 1, BMP_FORMAT_KEY16, random);
  f.set<uint8_t>(0, 0, foreground);
  b.set<uint8_t>(0, 0, background);
  k.set<uint16_t>(0, 0, key);
  const AtLevel at(setting);
  bmp_compose(&b, &b, &f, &k, 0);
  return b.at<uint8_t>(0, 0);
}

TEST(Compose, VectorFamiliesFloorEachTerm) {
  for (const Setting& setting : kSettings) {
    const int level = setting.level;
    EXPECT_EQ(compose_one_luma(255, 0, 2048, setting), 127);
    EXPECT_EQ(compose_one_luma(255, 255, 1, setting), level == 0 ? 255 : 254);
    EXPECT_EQ(compose_one_luma(200, 100, 4096, setting), 200);
    EXPECT_EQ(compose_one_luma(200, 100, 0, setting), 100);
  }
}

// Off the scale the results mean nothing, but plain code truncates toward zero and keeps the low bits, and
// MMX, its extension, SSE2 and the twins agree byte for byte.
TEST(Compose, KeysOffTheScale) {
  for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    for (const uint32_t key_format : {BMP_FORMAT_KEY16, BMP_FORMAT_KEY8}) {
      Random random(3);
      Frame background(64, 9, format, random), foreground(64, 9, format, random),
          key(64, 9, key_format, random);
      Frame dst(64, 9, format, random);
      const std::vector<uint8_t> before = dst.bytes();
      for (const Setting& setting : kSettings) {
        dst.set_bytes(before);
        const auto expected = model_compose(setting.level, dst, background, foreground, key, 0);
        const AtLevel at(setting);
        bmp_compose(&dst, &background, &foreground, &key, 0);
        EXPECT_EQ(difference(expected, dst), "") << "format " << format << ", level " << setting.level;
      }
    }
  }
}

TEST(Compose, LevelsOutsideTheScaleStayInsideTheBitmaps) {
  Random random(4);
  for (const Setting& setting : kSettings) {
    const AtLevel at(setting);
    for (const int32_t mix : {-1, 4097, INT32_MAX, INT32_MIN}) {
      Frame background(33, 3, BMP_FORMAT_RGB32, random), foreground(33, 3, BMP_FORMAT_RGB32, random);
      bmp_compose(&background, &background, &foreground, BMP_LEVEL(mix), BMP_COMPOSE_MIX);
    }
  }
}

// A frame without rows, a format without kernels, a source too small for the destination: nothing is written.
TEST(Compose, DrawsNothingWhereItCannot) {
  Random random(5);
  for (const Setting& setting : kSettings) {
    const AtLevel at(setting);
    Frame small(8, 3, BMP_FORMAT_YUY2, random), image(32, 4, BMP_FORMAT_YUY2, random);
    Frame key(32, 4, BMP_FORMAT_KEY16, random), low_key(32, 3, BMP_FORMAT_KEY16, random);
    Frame palettised(32, 4, BMP_FORMAT_PAL8, random), one_line(32, 1, BMP_FORMAT_YUY2, random);
    Frame dst(32, 4, BMP_FORMAT_YUY2, random);
    const auto before = dst.bytes();
    bmp_compose(&dst, &small, &image, &key, 0);
    bmp_compose(&dst, &image, &small, &key, 0);
    bmp_compose(&dst, &image, &image, &low_key, 0);
    bmp_compose(&dst, &small, &image, BMP_LEVEL(2048), BMP_COMPOSE_MIX);
    bmp_compose(&dst, &image, &small, BMP_LEVEL(2048), BMP_COMPOSE_MIX);
    // A part of a wider frame: the pitch has room for the destination's width, the part has not.
    Frame wide(64, 4, BMP_FORMAT_YUY2, random), wide_key(64, 4, BMP_FORMAT_KEY16, random);
    wide->width = wide_key->width = 31;
    bmp_compose(&dst, &wide, &image, &key, 0);
    bmp_compose(&dst, &image, &wide, &key, 0);
    bmp_compose(&dst, &image, &image, &wide_key, 0);
    EXPECT_EQ(difference(before, dst), "");
    const auto palettised_before = palettised.bytes();
    bmp_compose(&palettised, &image, &image, &key, 0);
    EXPECT_EQ(difference(palettised_before, palettised), "");
    const auto line_before = one_line.bytes();
    bmp_compose(&one_line, &image, &image, &key, BMP_FIELD_ODD);
    bmp_compose(&one_line, &image, &image, BMP_LEVEL(7), BMP_COMPOSE_MIX | BMP_FIELD_ODD | BMP_FIELD_ONLY);
    EXPECT_EQ(difference(line_before, one_line), "");
  }
}

}  // namespace
}  // namespace dorbmp::test
