// Every transition drawn on small frames: what it covers, which lines it writes, and where it ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>

#include "dorfx/pixels.h"
#include "support/levels.h"
#include "support/transitions.h"

namespace dorfx {
namespace {

bool is_in_space(const TransitionEntry& entry) {
  return std::any_of(entry.parameters.begin(), entry.parameters.end(),
                     [](const Parameter& parameter) { return parameter.name == std::string("distance"); });
}

TEST(DorfxTransitions, AllBeginAndEndAsTheirPicturesAndKeepToTheirField) {
  const KeyFile key;
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    for (const auto& [width, height] : {std::array{48, 32}, {35, 27}, {2, 2}}) {
      const Stage stage = make_stage(width, height, format);
      Frame from(width, height, format), to(width, height, format), out(width, height, format),
          junk(width, height, format);
      texture(from, 1);
      texture(to, 100);
      flat(junk, 0xA5);
      std::vector<std::pair<const TransitionEntry*, std::map<std::string, std::string>>> cases;
      for (const TransitionEntry* entry : all_transitions()) {
        cases.emplace_back(entry, needed(entry->name, key));
        if (cases.back().second.empty() && Parameters(entry->name, entry->parameters, {}).knows("key")) {
          cases.emplace_back(entry, std::map<std::string, std::string>{{"key", key.path()}, {"smooth", "1"}});
        }
      }
      for (const auto& [entry, values] : cases) {
        const auto transition = make(stage, entry->name, values);
        for (const uint32_t fields : {uint32_t{BMP_FRAME}, kTop, kBottom}) {
          SCOPED_TRACE(std::string(entry->name) + " " + std::to_string(width) + " fields " +
                       std::to_string(fields));
          flat(out, 0xA5);
          // Polygon mapping takes 1/128 of its neighbour into a picture's last column, and last line.
          const int tolerance = is_in_space(*entry) ? 4 : 1;
          transition->render({out.bitmap(), from.bitmap(), to.bitmap()}, 1e-6, fields);
          EXPECT_LE(difference(out, from, fields), tolerance);
          transition->render({out.bitmap(), from.bitmap(), to.bitmap()}, 1 - 1e-6, fields);
          EXPECT_LE(difference(out, to, fields), tolerance);
          // Nothing is left of what stood there before, and the other field is not touched.
          transition->render({out.bitmap(), from.bitmap(), to.bitmap()}, 0.37, fields);
          Frame again(width, height, format);
          flat(again, 0x5A);
          transition->render({again.bitmap(), from.bitmap(), to.bitmap()}, 0.37, fields);
          EXPECT_EQ(difference(out, again, fields), 0);
          if (fields != BMP_FRAME) {
            EXPECT_EQ(difference(out, junk, fields ^ 1), 0);
          }
        }
      }
    }
  }
}

TEST(DorfxTransitions, UncoverTheSecondPictureWhereTheirNamesSay) {
  // Black to white at 60 x 40: which points are white at 0.4; left and top come first.
  const struct {
    const char* name;
    std::vector<std::array<int, 2>> white, black;
  } kShapes[] = {
      {"wipeleft", {{59, 0}, {37, 39}}, {{0, 0}, {34, 20}}},
      {"wiperight", {{0, 0}, {22, 39}}, {{59, 0}, {26, 20}}},
      {"wipeup", {{0, 39}, {59, 25}}, {{0, 0}, {30, 22}}},
      {"wipedown", {{0, 0}, {59, 14}}, {{0, 39}, {30, 17}}},
      {"horzopen", {{0, 20}, {59, 13}, {59, 26}}, {{30, 10}, {30, 29}}},
      {"horzclose", {{0, 0}, {59, 39}}, {{0, 20}, {59, 10}, {59, 29}}},
      {"vertopen", {{30, 0}, {20, 39}}, {{16, 20}, {44, 20}}},
      {"vertclose", {{0, 0}, {59, 39}}, {{30, 0}, {14, 39}, {45, 0}}},
      {"box", {{30, 20}, {20, 13}, {39, 26}}, {{15, 20}, {30, 10}}},
      {"circleopen", {{30, 20}, {18, 20}, {30, 8}}, {{14, 20}, {18, 8}}},
      {"circleclose", {{0, 0}, {59, 39}}, {{30, 20}, {12, 20}}},
      {"slideleft", {{59, 0}, {37, 39}}, {{0, 0}, {34, 20}}},
      {"slideright", {{0, 0}, {22, 39}}, {{59, 0}, {26, 20}}},
      {"coverup", {{0, 39}, {59, 25}}, {{0, 0}, {30, 22}}},
      {"revealdown", {{0, 0}, {59, 14}}, {{0, 39}, {30, 17}}},
  };
  const Stage stage = make_stage(60, 40);
  Frame from(60, 40, stage.format), to(60, 40, stage.format), out(60, 40, stage.format);
  flat(from, 16);
  flat(to, 235);
  const auto luma = [&](const std::array<int, 2>& at) { return out.row(at[1])[at[0] * 2]; };
  for (const auto& shape : kShapes) {
    make(stage, shape.name)->render({out.bitmap(), from.bitmap(), to.bitmap()}, 0.4, BMP_FRAME);
    for (const auto& at : shape.white) EXPECT_EQ(luma(at), 235) << shape.name << at[0] << "," << at[1];
    for (const auto& at : shape.black) EXPECT_EQ(luma(at), 16) << shape.name << at[0] << "," << at[1];
  }
}

TEST(DorfxTransitions, AreasFollowProgressSoftnessCentreAndPixelShape) {
  const Stage stage = make_stage(200, 100);
  for (const double progress : {0.1234, 0.5, 0.87}) {
    // Sub-pixel edges: the area is exact, not a count of columns.
    EXPECT_NEAR(covered(stage, "wipeleft", {}, progress), progress, 0.003);
    EXPECT_NEAR(covered(stage, "vertopen", {}, progress), progress, 0.003);
    EXPECT_NEAR(covered(stage, "box", {}, progress), progress * progress, 0.004);
    EXPECT_NEAR(covered(stage, "horzclose", {}, progress), progress, 0.003);
  }
  // A soft edge of half the run: at two thirds of the time, (1 + 0.5) * 2 / 3 - 0.25 = 0.75 of the area.
  EXPECT_NEAR(covered(stage, "wiperight", {{"softness", "0.5"}}, 2.0 / 3), 0.75, 0.005);
  EXPECT_NEAR(covered(stage, "wipedown", {{"softness", "50px"}}, 2.0 / 3), 0.75, 0.005);
  // Half of a circle that just reaches the top and bottom of the frame.
  const double run = std::hypot(100, 50);
  EXPECT_NEAR(covered(stage, "circleopen", {}, 50 / run), std::numbers::pi * 2500 / 20000, 0.003);
  // From a corner, a quarter of it.
  EXPECT_NEAR(covered(stage, "circleopen", {{"center", "0,0"}}, 50 / std::hypot(200, 100)),
              std::numbers::pi * 625 / 20000, 0.003);
  // Rounded corners leave the frame at the very end.
  for (const auto& [width, height] : {std::array{200, 100}, {100, 200}, {120, 120}}) {
    const Stage frame = make_stage(width, height);
    EXPECT_LT(covered(frame, "box", {{"radius", "50"}}, 0.98), 1 - 1e-5) << width;
    EXPECT_GT(covered(frame, "box", {{"radius", "50"}}, 0.9999), 1 - 1e-6) << width;
  }
  // Pixels twice as wide as high: the circle is an ellipse of half as many columns as lines.
  Stage wide = make_stage(200, 200);
  wide.sample_aspect = {2, 1};
  const double reach = std::hypot(100, 50);
  EXPECT_NEAR(covered(wide, "circleopen", {}, 40 / reach), std::numbers::pi * 40 * 80 / 40000, 0.003);
}

TEST(DorfxTransitions, BordersHaveTheirWidthPlaceAndColour) {
  for (const int level : {0, 1, 4}) {
    const dorbmp::test::AtLevel at_level(level);
    for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
      Stage stage = make_stage(100, 40, format);
      stage.level = level;
      Frame from(100, 40, format), to(100, 40, format), out(100, 40, format), colour(100, 40, format);
      flat(from, 50);
      flat(to, 200);
      fill(colour, stage.packed({255, 120, 30}));
      for (const std::string name : {"wiperight", "luma"}) {
        const KeyFile key;
        auto values = needed(name, key);
        values["border"] = name == "luma" ? "4:#ff781e" : "10:#ff781e";  // luma: shares of the height
        make(stage, name, values)->render({out.bitmap(), from.bitmap(), to.bitmap()}, 0.5, BMP_FRAME);
        // The band runs from 45 to 55: half of 110, less the border.
        const auto at = [&](const Frame& frame, int x) {
          return frame.row(20) + x * frame.bitmap()->bytes_per_pixel;
        };
        for (int byte = 0; byte < 3; ++byte) {
          EXPECT_NEAR(at(out, 42)[byte], 200, 1) << name << level;
          EXPECT_NEAR(at(out, 50)[byte], at(colour, 50)[byte], 1) << name << level << format << byte;
          EXPECT_NEAR(at(out, 58)[byte], 50, 1) << name << level;
        }
      }
    }
  }
}

TEST(DorfxTransitions, MovesKeepPairsAndFieldsTogether) {
  // Odd sizes; progress at which the boundary falls on every kind of position.
  Stage stage = make_stage(35, 27);
  stage.order = FieldOrder::kTopFirst;
  Frame from(35, 27, stage.format), to(35, 27, stage.format), out(35, 27, stage.format);
  texture(from, 3);
  texture(to, 120);
  for (double progress = 0.03; progress < 1; progress += 0.07) {
    make(stage, "slideleft")->render({out.bitmap(), from.bitmap(), to.bitmap()}, progress, BMP_FRAME);
    const int edge = static_cast<int>(std::lround((1 - progress) * 36 / 2)) * 2;
    for (int y = 0; y < 27; ++y) {
      for (int byte = 0; byte < 72; ++byte) {
        const int expected =
            byte < edge * 2 ? from.row(y)[byte + (36 - edge) * 2] : to.row(y)[byte - edge * 2];
        ASSERT_EQ(out.row(y)[byte], expected) << progress << " " << byte;
      }
    }
    // Downwards, each line comes from a line of its own field.
    for (const uint32_t fields : {kTop, kBottom}) {
      make(stage, "coverdown")->render({out.bitmap(), from.bitmap(), to.bitmap()}, progress, fields);
    }
    for (int y = 0; y < 27; ++y) {
      bool own_field = false;
      for (int line = y % 2; line < 27; line += 2) {
        own_field = own_field || std::memcmp(out.row(y), to.row(line), 70) == 0 ||
                    std::memcmp(out.row(y), from.row(line), 70) == 0;
      }
      ASSERT_TRUE(own_field) << progress << " line " << y;
    }
  }
}

TEST(DorfxTransitions, DipsPassThroughTheirColour) {
  Stage stage = make_stage(36, 20);
  stage.background = {10, 200, 30};
  Frame from(36, 20, stage.format), to(36, 20, stage.format), out(36, 20, stage.format),
      colour(36, 20, stage.format);
  flat(from, 60);
  flat(to, 180);
  const struct {
    const char* name;
    Colour colour;
  } kDips[] = {{"fadeblack", {0, 0, 0}}, {"fadewhite", {255, 255, 255}}, {"dip", stage.background}};
  for (const auto& dip : kDips) {
    fill(colour, stage.packed(dip.colour));
    const auto draw = [&](double progress, const std::map<std::string, std::string>& values) {
      make(stage, dip.name, values)->render({out.bitmap(), from.bitmap(), to.bitmap()}, progress, BMP_FRAME);
    };
    draw(0.5, {});
    EXPECT_LE(difference(out, colour, BMP_FRAME), 1) << dip.name;
    draw(0.3, {{"hold", "0.5"}});
    EXPECT_LE(difference(out, colour, BMP_FRAME), 1) << dip.name;
    draw(0.25, {});
    EXPECT_NEAR(out.row(3)[2], (60 + colour.row(3)[2]) / 2, 1) << dip.name;
    draw(0.75, {});
    EXPECT_NEAR(out.row(3)[2], (180 + colour.row(3)[2]) / 2, 1) << dip.name;
  }
}

TEST(DorfxTransitions, KeyPicturesReachBothEnds) {
  // 8 bits, of 16 to 235 alone: holes at both ends unless the range is said.
  const std::string path = testing::TempDir() + "dorfx_limited.pgm";
  std::ofstream(path, std::ios::binary) << "P5\n2 1\n255\n" << '\x10' << '\xEB';
  const Stage stage = make_stage(40, 8);
  const auto at_edges = [&](const std::string& range, double progress) {
    Frame from(40, 8, stage.format), to(40, 8, stage.format), out(40, 8, stage.format);
    flat(to, 255);
    make(stage, "luma", {{"key", path}, {"key-range", range}})
        ->render({out.bitmap(), from.bitmap(), to.bitmap()}, progress, BMP_FRAME);
    return std::pair<int, int>{out.row(4)[0], out.row(4)[78]};
  };
  EXPECT_EQ(at_edges("full", 0.03), (std::pair{0, 0}));
  EXPECT_EQ(at_edges("limited", 0.03), (std::pair{255, 0}));
  EXPECT_EQ(at_edges("full", 0.97), (std::pair{255, 255}));
  EXPECT_EQ(at_edges("limited", 0.97), (std::pair{255, 0}));
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace dorfx
