// The transitions that map pictures onto rectangles and polygons: where the geometry says each picture is,
// without seams, and every field from its own lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "dorfx/pixels.h"
#include "dorfx/transitions/scene.h"
#include "support/transitions.h"

namespace dorfx {
namespace {

using Values = std::map<std::string, std::string>;

struct Case {
  const char* name;
  Values values;
};

// Everything that fills the frame with rectangles.
const Case kTilings[] = {
    {"squeezeh", {}},
    {"squeezev", {}},
    {"zoomin", {}},
    {"push", {}},
    {"push", {{"direction", "right"}}},
    {"push", {{"direction", "up"}}},
    {"push", {{"direction", "down"}}},
    {"pip", {{"border", "0:white"}}},
    {"mosaic", {}},
};

// Everything that draws sheets in space, over the background.
const char* const kSpaces[] = {"spin", "flip", "tumble", "fold", "doorway", "swap", "cube"};

void render(const Stage& stage, const Case& which, Frame& out, const Frame& from, const Frame& to,
            double progress, uint32_t fields) {
  make(stage, which.name, which.values)->render({out.bitmap(), from.bitmap(), to.bitmap()}, progress, fields);
}

int luma(const Frame& frame, int x, int y) {
  return frame.row(y)[2 * x];
}

TEST(DorfxMapping, RectanglesMeetWithoutSeams) {
  // Two pictures of one value: whatever else shows is a seam, a gap or something from outside the picture.
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    for (const auto& [width, height] : {std::array{61, 43}, {64, 40}}) {
      const Stage stage = make_stage(width, height, format);
      Frame picture(width, height, format), out(width, height, format);
      for (int y = 0; y < height; ++y) {
        std::memset(picture.row(y), 120,
                    static_cast<size_t>(picture.bitmap()->bytes_per_pixel * (width + 1)));
      }
      for (const Case& which : kTilings) {
        for (const uint32_t fields : {uint32_t{BMP_FRAME}, kTop, kBottom}) {
          for (double progress = 0.013; progress < 1; progress += 0.0531) {
            flat(out, 0xE5);
            render(stage, which, out, picture, picture, progress, fields);
            ASSERT_LE(difference(out, picture, fields), 1)
                << which.name << " " << progress << " fields " << fields << " format " << format;
          }
        }
      }
    }
  }
}

TEST(DorfxMapping, RectanglesCoverTheAreaOfTheirTime) {
  const Stage stage = make_stage(200, 100);
  for (const double progress : {0.1234, 0.5, 0.87}) {
    for (const char* direction : {"left", "right", "up", "down"}) {
      EXPECT_NEAR(covered(stage, "push", {{"direction", direction}}, progress), progress, 0.002);
    }
    EXPECT_NEAR(covered(stage, "squeezeh", {}, progress), progress, 0.002);
    EXPECT_NEAR(covered(stage, "squeezev", {}, progress), progress, 0.002);
  }
  EXPECT_NEAR(covered(stage, "pip", {{"border", "0:white"}, {"size", "0.37"}}, 0.5), 0.37 * 0.37, 0.002);
  // A white border counts as if it were the second picture: 80 by 40 pixels and 5 on each side.
  EXPECT_NEAR(covered(stage, "pip", {{"border", "5:white"}, {"size", "0.4"}}, 0.5), 90 * 50 / 20000.0, 0.01);
  // Seen from afar, half of the wall is each picture.
  EXPECT_NEAR(covered(stage, "mosaic", {{"count", "4"}}, 0.5), 0.5, 0.002);
}

TEST(DorfxMapping, PushKeepsTheSizeAndMovesByFractions) {
  // A ramp up and one down, of four levels a pixel, that meet at one level: a quarter of a pixel shows.
  const Stage stage = make_stage(60, 8);
  Frame from(60, 8, stage.format), to(60, 8, stage.format), out(60, 8, stage.format);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 60; ++x) {
      from.row(y)[2 * x] = static_cast<uint8_t>(4 * x);
      to.row(y)[2 * x] = static_cast<uint8_t>(4 * (59 - x));
    }
  }
  for (double progress = 0.01; progress < 1; progress += 0.0173) {
    render(stage, {"push", {}}, out, from, to, progress, BMP_FRAME);
    for (int x = 0; x < 60; ++x) {
      const double at = x + progress * 60;
      ASSERT_NEAR(luma(out, x, 4), 4 * std::min({at, 59.0, 119 - at}), 1.1) << progress << " " << x;
    }
  }
}

TEST(DorfxMapping, EachFieldIsDrawnFromItsOwnLines) {
  // Lines of two levels; what is neither must be neither of the pictures.
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    Stage stage = make_stage(61, 43, format);
    stage.order = FieldOrder::kTopFirst;
    Frame picture(61, 43, format), out(61, 43, format);
    for (int y = 0; y < 43; ++y) std::memset(picture.row(y), y % 2 == 0 ? 200 : 60, picture.row_bytes());
    for (const Case& which : kTilings) {
      for (const double progress : {0.13, 0.41, 0.5, 0.77}) {
        for (const uint32_t fields : {kTop, kBottom}) {
          render(stage, which, out, picture, picture, progress, fields);
        }
        EXPECT_LE(difference(out, picture, BMP_FRAME), 1) << which.name << " " << progress;
      }
    }
  }
}

TEST(DorfxMapping, AFieldHasTheGeometryOfTheWholeFrame) {
  // On pictures without fine detail a field and the frame of the same instant show the same.
  const Stage stage = make_stage(64, 48);
  Frame from(64, 48, stage.format), to(64, 48, stage.format), whole(64, 48, stage.format),
      fields(64, 48, stage.format);
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 128; ++x) {
      from.row(y)[x] = static_cast<uint8_t>(x % 2 == 0 ? 20 + x / 8 + 4 * y : 128);
      to.row(y)[x] = static_cast<uint8_t>(x % 2 == 0 ? 230 - x / 8 - 4 * y : 128);
    }
  }
  std::vector<Case> cases(std::begin(kTilings), std::end(kTilings));
  for (const char* name : kSpaces) cases.push_back({name, {}});
  for (const char* name : {"flip", "fold", "swap"}) cases.push_back({name, {{"smooth", "1"}}});
  for (const Case& which : cases) {
    for (const double progress : {0.2, 0.45, 0.7}) {
      render(stage, which, whole, from, to, progress, BMP_FRAME);
      for (const uint32_t field : {kTop, kBottom}) render(stage, which, fields, from, to, progress, field);
      int apart = 0;
      for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x) apart += std::abs(luma(whole, x, y) - luma(fields, x, y)) > 5 ? 1 : 0;
      }
      // But for the lines in which boxes meet: a field's mean is of other parts there.
      EXPECT_LE(apart, 4 * 64) << which.name << " " << progress;
    }
  }
}

TEST(DorfxMapping, SheetsInSpaceAreDrawnFromTheirFieldsOwnLines) {
  Stage stage = make_stage(61, 43);
  stage.background = {255, 255, 255};
  Frame picture(61, 43, stage.format), out(61, 43, stage.format);
  for (int y = 0; y < 43; ++y) std::memset(picture.row(y), y % 2 == 0 ? 180 : 60, picture.row_bytes());
  for (const char* name : kSpaces) {
    for (const double progress : {0.08, 0.3, 0.6, 0.9}) {
      for (const uint32_t fields : {kTop, kBottom})
        render(stage, {name, {}}, out, picture, picture, progress, fields);
      int drawn = 0;
      for (int y = 0; y < 43; ++y) {
        for (int x = 0; x < 61; ++x) {
          if (luma(out, x, y) == 235) continue;
          ASSERT_EQ(luma(out, x, y), y % 2 == 0 ? 180 : 60)
              << name << " " << progress << " " << x << "," << y;
          ++drawn;
        }
      }
      EXPECT_GT(drawn, 61) << name << " " << progress;
    }
  }
}

// From white, and the second picture and the background black.
Frame white_sheet(const Stage& stage, const Case& which, double progress, bool second = false) {
  Frame white(stage.width, stage.height, stage.format), black(stage.width, stage.height, stage.format),
      out(stage.width, stage.height, stage.format);
  fill(white, stage.packed({255, 255, 255}));
  fill(black, stage.packed({0, 0, 0}));
  render(stage, which, out, second ? black : white, second ? white : black, progress, BMP_FRAME);
  return out;
}

double white_area(const Frame& frame) {
  const bool rgb = frame.format() == BMP_FORMAT_RGB32;
  double sum = 0;
  for (int y = 0; y < frame.height(); ++y) {
    for (int x = 0; x < frame.width(); ++x) {
      sum += rgb ? frame.row(y)[4 * x] / 255.0 : (luma(frame, x, y) - 16) / 219.0;
    }
  }
  return sum;
}

TEST(DorfxMapping, FlippingSheetHasItsPlaceInPerspective) {
  // A quarter of the time, 45 degrees: the left edge has come forward as far as the sheet has gone back, and
  // stands at depth 0; the right edge is twice as deep. The eye is two widths away.
  const Stage stage = make_stage(400, 200);
  const double side = std::sqrt(0.5) * 200, shrunk = 800 / (800 + 2 * side);
  const double left = 200 - side, right = 200 + side * shrunk;
  const double area = (right - left) * 200 * (1 + shrunk) / 2;
  for (const bool smooth : {false, true}) {
    const Frame out = white_sheet(stage, {"flip", {{"smooth", smooth ? "1" : "0"}}}, 0.25);
    EXPECT_NEAR(white_area(out), area, smooth ? 30 : 300);
    const int x0 = static_cast<int>(left), x1 = static_cast<int>(right);
    for (const int x : {x0 + 2, (x0 + x1) / 2, x1 - 2}) EXPECT_EQ(luma(out, x, 100), 235) << x;
    for (const int x : {x0 - 2, x1 + 2}) EXPECT_EQ(luma(out, x, 100), 16) << x;
    // Its slanting upper edge, and the same one below.
    const double lower = 100 - 100 * shrunk;
    EXPECT_EQ(luma(out, x1 - 2, static_cast<int>(lower) + 3), 235);
    EXPECT_EQ(luma(out, x1 - 2, static_cast<int>(lower) - 3), 16);
    EXPECT_EQ(luma(out, x1 - 2, 199 - static_cast<int>(lower) + 3), 16);
    int greys = 0;
    for (int x = x0; x < x1; ++x) {
      for (int y = 0; y < 200; ++y) greys += luma(out, x, y) != 16 && luma(out, x, y) != 235 ? 1 : 0;
    }
    EXPECT_EQ(greys > 100, smooth) << greys;
  }
  // Seen on lines twice as high as wide, it is the same sheet on half of the lines.
  Stage high = make_stage(400, 100);
  high.sample_aspect = {1, 2};
  EXPECT_NEAR(white_area(white_sheet(high, {"flip", {{"smooth", "1"}}}, 0.25)), area / 2, 30);
}

TEST(DorfxMapping, SheetsComeAsTheyGo) {
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    const Stage stage = make_stage(160, 90, format);
    for (const char* name : {"spin", "flip", "tumble", "swap"}) {
      for (const double progress : {0.05, 0.2, 0.35, 0.48}) {
        const double going = white_area(white_sheet(stage, {name, {{"smooth", "1"}}}, progress));
        const double coming = white_area(white_sheet(stage, {name, {{"smooth", "1"}}}, 1 - progress, true));
        EXPECT_NEAR(going, coming, 0.01 * going + 3) << name << " " << progress;
        EXPECT_GT(going, 10) << name << " " << progress;
      }
    }
  }
}

TEST(DorfxMapping, StripsOfAFoldJoinWithoutSeams) {
  const Stage stage = make_stage(203, 80);
  for (const char* smooth : {"0", "1"}) {
    for (const double progress : {0.1, 0.37, 0.6, 0.85}) {
      const Frame out = white_sheet(stage, {"fold", {{"count", "7"}, {"smooth", smooth}}}, progress);
      int changes = 0, last = 235;
      for (int x = 0; x < 203; ++x) {
        const int here = luma(out, x, 40);
        // White from the left edge on, then at most one mixed pixel, then black.
        EXPECT_LE(here, last) << smooth << " " << progress << " " << x;
        changes += here != last ? 1 : 0;
        last = here;
      }
      EXPECT_EQ(last, 16);
      EXPECT_LE(changes, 2) << smooth << " " << progress;
    }
  }
}

TEST(DorfxMapping, DoorsOpenFromTheMiddleEvenly) {
  const Stage stage = make_stage(200, 80);
  for (const double progress : {0.1, 0.4, 0.8}) {
    const Frame out = white_sheet(stage, {"doorway", {{"smooth", "1"}}}, progress);
    EXPECT_EQ(luma(out, 100, 40), 16) << progress;
    EXPECT_EQ(luma(out, 0, 40), 235) << progress;
    for (int x = 0; x < 100; ++x)
      EXPECT_NEAR(luma(out, x, 40), luma(out, 199 - x, 40), 2) << progress << " " << x;
  }
}

TEST(DorfxMapping, SlantingWipesCoverTheirAreasAndCorners) {
  const Stage stage = make_stage(120, 80), square = make_stage(101, 101);
  const struct {
    const char* name;
    int x, y;  // the corner that changes first
  } kDiagonals[] = {{"diagtl", 119, 79}, {"diagtr", 0, 79}, {"diagbl", 119, 0}, {"diagbr", 0, 0}};
  for (const auto& diagonal : kDiagonals) {
    for (const double progress : {0.2, 0.45}) {
      EXPECT_NEAR(covered(stage, diagonal.name, {}, progress), 2 * progress * progress, 0.003)
          << diagonal.name;
      EXPECT_NEAR(covered(stage, diagonal.name, {}, 1 - progress), 1 - 2 * progress * progress, 0.003)
          << diagonal.name;
    }
    const Frame out = white_sheet(stage, {diagonal.name, {}}, 0.3, true);
    EXPECT_EQ(luma(out, diagonal.x, diagonal.y), 235) << diagonal.name;
    EXPECT_EQ(luma(out, 119 - diagonal.x, 79 - diagonal.y), 16) << diagonal.name;
    EXPECT_EQ(luma(out, 119 - diagonal.x, diagonal.y), 16) << diagonal.name;
  }
  for (const double progress : {0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875}) {
    EXPECT_NEAR(covered(square, "radial", {}, progress), progress, 0.003);
    EXPECT_NEAR(covered(square, "radial", {{"smooth", "0"}}, progress), progress, 0.01);
  }
  // Clockwise from the top; no seam where the other half of the turn begins.
  const Frame out = white_sheet(square, {"radial", {}}, 0.6, true);
  for (const auto& [x, y] : {std::array{60, 5}, {95, 50}, {60, 95}}) EXPECT_EQ(luma(out, x, y), 235);
  EXPECT_EQ(luma(out, 5, 50), 16);
  for (int y = 60; y < 101; ++y) EXPECT_EQ(luma(out, 50, y), 235) << y;
}

int bright(const Frame& frame, int x, int y) {
  return frame.row(y)[x * frame.bitmap()->bytes_per_pixel];
}

TEST(DorfxMapping, SheetsPassThroughOneAnotherInAnyOrder) {
  // Two sheets crossed like an X, seen from above: on each side the one that leans forward there is seen.
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    const Stage stage = make_stage(100, 60, format);
    Frame light(100, 60, format), dark(100, 60, format), out(100, 60, format);
    flat(light, 200);
    flat(dark, 50);
    for (const bool light_first : {false, true}) {
      for (const uint32_t fields : {uint32_t{BMP_FRAME}, kTop, kBottom}) {
        Scene scene(stage, 2, false);
        const auto leaning = [&](const Frame& frame, double angle) {
          return TexturedQuad{
              frame.bitmap(), scene.frame(),
              each(scene.place_of(scene.frame()), [&](const Vec3& p) { return turned_y(p, angle); })};
        };
        const TexturedQuad a = leaning(light, 0.5), b = leaning(dark, -0.5);
        scene.begin(out.bitmap(), fields);
        scene.draw_by_depth(light_first ? std::vector{a, b} : std::vector{b, a});
        const int line = 30 + static_cast<int>(fields & 1);
        for (int x = 12; x < 48; ++x) EXPECT_EQ(bright(out, x, line), 200) << x << " " << light_first;
        for (int x = 52; x < 88; ++x) EXPECT_EQ(bright(out, x, line), 50) << x << " " << light_first;
      }
    }
  }
}

TEST(DorfxMapping, CubeShowsBothSidesAndHidesTheOthers) {
  const Stage stage = make_stage(120, 120);
  const struct {
    const char* direction;
    int x, y;  // where the second picture is halfway
  } kTurns[] = {{"left", 80, 60}, {"right", 39, 60}, {"up", 60, 80}, {"down", 60, 39}};
  for (const auto& turn : kTurns) {
    const Case cube{"cube", {{"direction", turn.direction}, {"tilt", "0"}}};
    const Frame out = white_sheet(stage, cube, 0.5, true);
    EXPECT_EQ(luma(out, turn.x, turn.y), 235) << turn.direction;
    EXPECT_EQ(luma(out, 119 - turn.x, 119 - turn.y), 16) << turn.direction;
    // Both sides are seen alike.
    EXPECT_NEAR(white_area(out), white_area(white_sheet(stage, cube, 0.5)), 130) << turn.direction;
  }
  // From above one looks at the inner side of the far walls: of the second picture behind the first.
  Stage green = stage;
  green.background = {0, 255, 0};
  const Case tilted{"cube", {{"tilt", "30"}}};
  const Frame flat_on = white_sheet(green, {"cube", {{"tilt", "0"}}}, 0.5, true);
  const Frame out = white_sheet(green, tilted, 0.5, true);
  const Frame below = white_sheet(green, {"cube", {{"tilt", "-30"}}}, 0.5, true);
  int inside = 0, differing = 0;
  for (int y = 0; y < 120; ++y) {
    for (int x = 0; x < 58; ++x) {
      inside += luma(out, x, y) == 235 ? 1 : 0;
      EXPECT_NE(luma(flat_on, x, y), 235) << x << "," << y;
    }
    for (int x = 0; x < 120; ++x) differing += luma(out, x, y) != luma(below, x, 119 - y) ? 1 : 0;
  }
  EXPECT_GT(inside, 100);
  EXPECT_LE(differing, 120);
}

TEST(DorfxMapping, KeysFollowTheirPictures) {
  // White pictures cut out by a key over black look like the key itself, drawn as a picture.
  constexpr int kWidth = 61, kHeight = 43;
  const std::string path = testing::TempDir() + "dorfx_shape.pgm";
  std::string greys;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const bool disc = std::hypot(x - 25, y - 20) < 15;
      greys.push_back(static_cast<char>(disc ? 255 - 3 * y : 3 * x));
    }
  }
  std::ofstream(path, std::ios::binary) << "P5\n" << kWidth << " " << kHeight << "\n255\n" << greys;
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    const Stage stage = make_stage(kWidth, kHeight, format);
    Frame white(kWidth, kHeight, format), drawn(kWidth, kHeight, format), keyed(kWidth, kHeight, format),
        picture(kWidth, kHeight, format);
    fill(white, stage.packed({255, 255, 255}));
    for (int y = 0; y < kHeight; ++y) {
      std::memset(picture.row(y), 128, picture.row_bytes());
      for (int x = 0; x < kWidth; ++x) {
        const auto grey = static_cast<uint8_t>(greys[static_cast<size_t>(y * kWidth + x)]);
        if (format == BMP_FORMAT_RGB32) std::memset(picture.row(y) + 4 * x, grey, 4);
        if (format == BMP_FORMAT_YUY2)
          picture.row(y)[2 * x] = static_cast<uint8_t>(std::lround(16 + grey * 219 / 255.0));
      }
    }
    for (const char* name : {"spin", "flip", "tumble"}) {
      for (const char* smooth : {"0", "1"}) {
        for (const double progress : {0.21, 0.34, 0.72}) {
          for (const uint32_t fields : {uint32_t{BMP_FRAME}, kTop, kBottom}) {
            render(stage, {name, {{"smooth", smooth}}}, drawn, picture, picture, progress, fields);
            render(stage, {name, {{"smooth", smooth}, {"key", path}}}, keyed, white, white, progress, fields);
            EXPECT_LE(difference(drawn, keyed, fields), 2)
                << name << " " << smooth << " " << progress << " fields " << fields << " format " << format;
          }
        }
      }
    }
    // Where two of them overlap, the nearer one's key shows the farther one.
    Frame out(kWidth, kHeight, format);
    render(stage, {"swap", {{"key", path}}}, out, white, white, 0.25, BMP_FRAME);
    EXPECT_GT(white_area(out), 100);
    EXPECT_LT(white_area(out), white_area(white_sheet(stage, {"swap", {}}, 0.25)));
  }
  std::filesystem::remove(path);
}

TEST(DorfxMapping, TitleFacesTheViewerHalfwayAndIsGoneAtBothEnds) {
  // A title of one upright bar, in the middle third.
  const std::string path = testing::TempDir() + "dorfx_title.pgm";
  std::ofstream(path, std::ios::binary)
      << "P5\n9 1\n255\n"
      << std::string(3, '\0') + std::string(3, '\xFF') + std::string(3, '\0');
  for (const PixelFormat format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    const Stage stage = make_stage(90, 60, format);
    Frame from(90, 60, format), to(90, 60, format), out(90, 60, format), colour(90, 60, format),
        faded(90, 60, format);
    flat(from, 40);
    flat(to, 120);
    flat(faded, 80);
    fill(colour, stage.packed({255, 200, 20}));
    const Case title{"title", {{"key", path}, {"color", "#ffc814"}}};
    render(stage, title, out, from, to, 0.5, BMP_FRAME);
    const int bytes = out.bitmap()->bytes_per_pixel;
    for (int byte = 0; byte < std::min(bytes, 3); ++byte) {
      EXPECT_NEAR(out.row(30)[44 * bytes + byte], colour.row(30)[44 * bytes + byte], 1) << byte;
      EXPECT_NEAR(out.row(30)[4 * bytes + byte], 80, 1) << byte;
      // At its depth then, 0.45 widths, it leaves room above.
      EXPECT_NEAR(out.row(3)[44 * bytes + byte], 80, 1) << byte;
    }
    // One field at a time is the same.
    Frame fields(90, 60, format);
    for (const uint32_t field : {kTop, kBottom}) render(stage, title, fields, from, to, 0.5, field);
    EXPECT_EQ(difference(fields, out, BMP_FRAME), 0);
    render(stage, title, out, from, to, 0.01, BMP_FRAME);
    EXPECT_LE(difference(out, from, BMP_FRAME), 1);
  }
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace dorfx
