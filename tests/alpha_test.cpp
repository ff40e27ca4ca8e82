#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "dorbmp/alpha/falloff.h"
#include "models/alpha_model.h"
#include "support/frames.h"

namespace dorbmp::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kWild[] = {0,     -0.0f,  1e-45f, -1e-30f, 1e-3f,  0.3f,      -3.0f,      65536.5f,
                           -1e9f, 2.2e9f, 9e18f,  3e38f,   -3e38f, kInfinity, -kInfinity, NAN};

float wild(Random& random) {
  return kWild[random.between(0, std::size(kWild) - 1)];
}

// Mostly multiples of 1/64 and whole numbers, where the edges of the rules are.
float coordinate(Random& random, float low, float high) {
  const float value = random.real(low, high);
  if (random.chance(3)) return std::floor(value);
  return random.chance(2) ? std::floor(value * 64) / 64 : value;
}

void draw(Frame& plane, const RectShape& s, uint32_t flags) {
  bmp_alpha_rect(&plane, s.x, s.y, s.width, s.height, s.radius_x, s.radius_y, flags);
}

void draw(Frame& plane, const CircleShape& s, uint32_t flags) {
  bmp_alpha_circle(&plane, s.cx, s.cy, s.radius, s.softness, s.aspect, flags);
}

std::string text(const RectShape& s) {
  std::ostringstream out;
  out << "x " << s.x << ", y " << s.y << ", " << s.width << " x " << s.height << ", radii " << s.radius_x
      << ", " << s.radius_y;
  return out.str();
}

std::string text(const CircleShape& s) {
  std::ostringstream out;
  out << "centre " << s.cx << ", " << s.cy << ", radius " << s.radius << ", softness " << s.softness
      << ", aspect " << s.aspect;
  return out.str();
}

// A plane of any 2-byte or wider format, in any place, or now and then one of 8 bits.
Frame random_plane(Random& random) {
  const uint32_t format = random.chance(4) ? static_cast<uint32_t>(random.between(0, 7)) : 2u;
  return Frame(random.between(1, 50), random.between(1, 20), format, random,
               {.offset = random.between(0, 1) * 16, .extra_pitch = random.between(0, 1) * 16});
}

Frame zeroed(int32_t width, int32_t height) {
  Random random(0);
  Frame plane(width, height, BMP_FORMAT_KEY16, random);
  plane.set_bytes(std::vector<uint8_t>(plane.bytes().size()));
  return plane;
}

template <class Shape, class Model>
void compare_with(Model model, const Shape& shape, uint32_t flags, Frame& plane, uint64_t seed) {
  const auto before = plane.bytes();
  model(plane, shape, flags);
  const auto expected = plane.bytes();
  plane.set_bytes(before);
  draw(plane, shape, flags);
  EXPECT_EQ(difference(expected, plane), "") << "seed " << seed << ", flags " << flags << ", " << text(shape);
}

// ---- Falloff tables ----

TEST(Alpha, FalloffTablesAreRoundedToNearest) {
  const long double pi = std::acos(-1.0L);
  const auto check = [](long double exact, uint16_t entry, const char* table, int i) {
    EXPECT_LE(std::fabs(exact - entry), 0.5L) << table << " entry " << i;
    // Far enough from a tie for no evaluation in double precision to have gone astray.
    if (exact != entry) {
      EXPECT_GT(std::fabs(std::fabs(exact - entry) - 0.5L), 1e-9L) << table << " entry " << i;
    }
  };
  for (int i = 0; i <= 1024; ++i) {
    check(4096 - 4 * i, alpha::kLinearFalloff.by_distance[i], "linear", i);
    if (i == 512) continue;  // cos(pi / 2) is not 0 in long double either
    check(2048 * (1 + std::cos(pi * i / 1024)), alpha::kCosineFalloff.by_distance[i], "cosine", i);
  }
  EXPECT_EQ(alpha::kCosineFalloff.by_distance[512], 2048);
  for (int i = 0; i <= 2048; ++i) {
    const long double distance = std::sqrt(i / 2048.0L);
    check(4096 * (1 - distance), alpha::kLinearFalloff.by_square[i], "linear square", i);
    if (i == 512) continue;
    check(2048 * (1 + std::cos(pi * distance)), alpha::kCosineFalloff.by_square[i], "cosine square", i);
  }
}

// ---- Plain rectangles ----

TEST(Alpha, PlainRectanglesFollowTheirFormula) {
  for (uint64_t seed = 0; seed < 20000; ++seed) {
    Random random(seed);
    Frame plane = random_plane(random);
    RectShape shape{coordinate(random, -20, 60),
                    coordinate(random, -10, 25),
                    coordinate(random, -2, 50),
                    coordinate(random, -2, 25),
                    wild(random),
                    wild(random)};
    if (random.chance(3)) shape.width = random.real(0, 1.5f);
    if (random.chance(3)) shape.height = random.real(0, 1.5f);
    if (random.chance(6)) (&shape.x)[random.between(0, 3)] = wild(random);
    uint32_t flags = static_cast<uint32_t>(random.between(0, 3) | random.between(0, 1) * 0x10);
    if (random.chance(10)) flags |= static_cast<uint32_t>(random.between(2, 7)) << 4;
    // Without soft or hard, rounded is not rounded; neither are soft and hard without rounded.
    const uint32_t plain[] = {0, BMP_ALPHA_ROUNDED, BMP_ALPHA_SOFT | BMP_ALPHA_COSINE, BMP_ALPHA_HARD};
    compare_with(model_alpha_rect, shape, flags | plain[random.between(0, 3)], plane, seed);
  }
}

TEST(Alpha, PlainRectangleValues) {
  Frame plane = zeroed(4, 2);
  draw(plane, RectShape{0.5f, 0, 2, 1, 0, 0}, BMP_ALPHA_ADD);
  const uint16_t expected[] = {2048, 4096, 2048, 0};
  for (int x = 0; x < 4; ++x) EXPECT_EQ(plane.at<uint16_t>(x, 0), expected[x]) << x;
  EXPECT_EQ(plane.at<uint16_t>(1, 1), 0);

  // Both sides in one pixel: each counts. Top and bottom in one line: the top does.
  Frame narrow = zeroed(2, 2);
  draw(narrow, RectShape{0.25f, 0.5f, 0.5f, 0.25f, 0, 0}, BMP_ALPHA_ADD);
  EXPECT_EQ(narrow.at<uint16_t>(0, 0), (48 + 48) * 32);
  draw(narrow, RectShape{1.25f, 1, 0.5f, 1, 0, 0}, BMP_ALPHA_MAX);
  EXPECT_EQ(narrow.at<uint16_t>(1, 1), 48 * 64);
}

// ---- Rounded rectangles ----

constexpr uint32_t kSoft = BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT;
constexpr uint32_t kHard = BMP_ALPHA_ROUNDED | BMP_ALPHA_HARD;
constexpr uint32_t kProfiles[] = {kSoft, kSoft | BMP_ALPHA_COSINE, kHard, kHard | BMP_ALPHA_SOFT};

float grid(Random& random, float low, float high) {
  return std::floor(random.real(low, high) * 64) / 64;
}

// On the 1/64 grid, so that the ideal shape is the drawn one. Radii as given, or too large for the sides.
RectShape rounded_shape(Random& random, float least_radius) {
  RectShape shape{};
  shape.radius_x = grid(random, least_radius, random.chance(2) ? 12 : least_radius + 4);
  shape.radius_y = random.chance(3) ? shape.radius_x : grid(random, least_radius, 12);
  shape.width = grid(random, 2 * least_radius + 0.1f, 34);
  shape.height = grid(random, 2 * least_radius + 0.1f, 24);
  shape.x = grid(random, -4, 6);
  shape.y = grid(random, -4, 6);
  return shape;
}

// The smaller radius once both have shrunk to fit.
float fitted_radius(const RectShape& s) {
  const float shrink = std::min({1.0f, s.width / (2 * s.radius_x), s.height / (2 * s.radius_y)});
  return std::min(s.radius_x, s.radius_y) * shrink;
}

void expect_means(const RectShape& shape, uint32_t flags, double tolerance, uint64_t seed) {
  Frame plane = zeroed(36, 26);
  draw(plane, shape, flags);
  for (int32_t y = 0; y < plane->height; ++y) {
    for (int32_t x = 0; x < plane->width; ++x) {
      ASSERT_NEAR(plane.at<uint16_t>(x, y), model_rounded_mean(shape, x, y, flags), tolerance)
          << "pixel " << x << ", " << y << ", seed " << seed << ", flags " << flags << ", " << text(shape);
    }
  }
}

TEST(Alpha, HardRoundedRectanglesAreTrueCoverage) {
  for (uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    const RectShape shape = rounded_shape(random, random.chance(2) ? 0.05f : 1);
    // Below a unit a radius is none.
    if (fitted_radius(shape) >= 1 / 64.0f) expect_means(shape, kHard, 64, seed);
  }
}

TEST(Alpha, SoftRoundedRectanglesAreMeansOfTheirProfile) {
  for (uint64_t seed = 0; seed < 40; ++seed) {
    Random random(seed);
    RectShape shape = rounded_shape(random, 4);
    if (fitted_radius(shape) < 4) shape.radius_x = shape.radius_y = 4;
    expect_means(shape, kProfiles[seed % 2], 16, seed);
  }
}

// Fewer samples a pixel serve larger radii; what they miss must stay as small.
TEST(Alpha, LargeSoftCornersAreMeansOfTheirProfile) {
  for (const float radius : {31.5f, 32.25f, 100.0f, 255.5f, 256.25f, 700.0f}) {
    for (const uint32_t flags : {kSoft, kSoft | BMP_ALPHA_COSINE}) {
      const RectShape shape{0.5f, 0.25f, 2 * radius + 3, 2 * radius + 1, radius, radius};
      const int32_t side = static_cast<int32_t>(radius) + 4;
      Frame plane = zeroed(side, side);
      draw(plane, shape, flags);
      Random random(static_cast<uint64_t>(radius));
      for (int i = 0; i < 400; ++i) {
        // Spread over the corner, and over its first and last pixels.
        const int32_t near_centre = random.between(side - 6, side - 1), near_side = random.between(0, 3);
        const int32_t x = i % 2 == 0 ? random.between(0, side - 1) : near_centre;
        const int32_t y = i % 4 < 2 ? random.between(0, side - 1) : i % 8 < 4 ? near_centre : near_side;
        ASSERT_NEAR(plane.at<uint16_t>(x, y), model_rounded_mean(shape, x, y, flags), 16)
            << "pixel " << x << ", " << y << ", radius " << radius << ", flags " << flags;
      }
    }
  }
}

TEST(Alpha, RoundedRectanglesAreCroppedByThePlane) {
  constexpr int kMargin = 40;
  for (uint64_t seed = 0; seed < 400; ++seed) {
    Random random(seed);
    RectShape shape = rounded_shape(random, 0.1f);
    if (random.chance(4)) shape.radius_x *= 20, shape.width *= 20;
    shape.x = grid(random, -30, 30);
    shape.y = grid(random, -20, 20);
    const uint32_t flags = kProfiles[seed % 4] |
                           static_cast<uint32_t>(random.between(0, 1)) * BMP_FIELD_ONLY |
                           static_cast<uint32_t>(random.between(0, 1)) * BMP_ALPHA_MAX;
    Frame part = zeroed(random.between(1, 40), random.between(1, 20));
    Frame whole = zeroed(part->width + 2 * kMargin + 700, part->height + 2 * kMargin);
    draw(part, shape, flags);
    shape.x += kMargin;
    shape.y += kMargin;
    draw(whole, shape, flags);
    for (int32_t y = 0; y < part->height; ++y) {
      for (int32_t x = 0; x < part->width; ++x) {
        ASSERT_EQ(part.at<uint16_t>(x, y), whole.at<uint16_t>(x + kMargin, y + kMargin))
            << "pixel " << x << ", " << y << ", seed " << seed << ", flags " << flags << ", " << text(shape);
      }
    }
  }
}

// What a rounded shape adds or raises is the coverage it draws on an empty plane; pixels between the inner
// bounds are set; other lines, and everything outside, stay.
TEST(Alpha, RoundedRectanglesCombine) {
  for (uint64_t seed = 0; seed < 2000; ++seed) {
    Random random(seed);
    const RectShape shape = rounded_shape(random, 0.1f);
    const uint32_t field = static_cast<uint32_t>(random.between(0, 3));
    const bool maximum = random.chance(2);
    const uint32_t flags = kProfiles[seed % 4] | field | (maximum ? BMP_ALPHA_MAX : BMP_ALPHA_ADD);
    Frame plane(36, 26, BMP_FORMAT_KEY16, random);
    Frame coverage = zeroed(36, 26);
    draw(coverage, shape, flags & ~BMP_ALPHA_MAX);
    const auto before = plane.bytes();
    Frame old = zeroed(36, 26);
    old.set_bytes(before);
    draw(plane, shape, flags);
    const double left = shape.x + shape.radius_x, right = shape.x + shape.width - shape.radius_x;
    const double top = shape.y + shape.radius_y, bottom = shape.y + shape.height - shape.radius_y;
    for (int32_t y = 0; y < 26; ++y) {
      const bool drawn = (field & 2) == 0 || (static_cast<uint32_t>(y) & 1) == (field & 1);
      for (int32_t x = 0; x < 36; ++x) {
        const auto stored = old.at<uint16_t>(x, y), value = coverage.at<uint16_t>(x, y);
        const auto got = plane.at<uint16_t>(x, y);
        const int expected = maximum ? std::max(stored, value) : static_cast<uint16_t>(stored + value);
        const bool inner = x >= left && x + 1 <= right && y >= top && y + 1 <= bottom;
        const bool set = got == 4096 && value == 4096;
        ASSERT_TRUE(inner && drawn ? set : got == expected || set)
            << "pixel " << x << ", " << y << ", seed " << seed << ", flags " << flags << ", " << text(shape);
        if (!drawn) {
          ASSERT_EQ(value, 0) << "line " << y << ", seed " << seed;
        }
      }
    }
    if (maximum) {
      const auto once = plane.bytes();
      draw(plane, shape, flags);
      ASSERT_EQ(difference(once, plane), "") << "twice, seed " << seed;
    }
  }
}

TEST(Alpha, RoundedRectanglesWithoutRadiiArePlain) {
  for (uint64_t seed = 0; seed < 500; ++seed) {
    Random random(seed);
    RectShape shape = rounded_shape(random, 0.1f);
    const float none[] = {0, 0.01f, -5, NAN};
    (random.chance(2) ? shape.radius_x : shape.radius_y) = none[random.between(0, 3)];
    Frame plane(36, 26, BMP_FORMAT_KEY16, random);
    compare_with(model_alpha_rect, shape, kProfiles[seed % 4] | static_cast<uint32_t>(random.between(0, 3)),
                 plane, seed);
  }
}

TEST(Alpha, StraightSidesOfHardRoundedRectanglesArePlain) {
  Random random(7);
  for (int i = 0; i < 100; ++i) {
    const RectShape shape{grid(random, 0, 4),   grid(random, 0, 4),    grid(random, 16, 30),
                          grid(random, 12, 20), grid(random, 0.1f, 4), grid(random, 0.1f, 4)};
    Frame rounded = zeroed(36, 26), plain = zeroed(36, 26);
    draw(rounded, shape, kHard);
    draw(plain, shape, 0);
    for (int32_t y = 0; y < 26; ++y) {
      for (int32_t x = 0; x < 36; ++x) {
        const bool inside_x =
            x >= shape.x + shape.radius_x && x + 1 <= shape.x + shape.width - shape.radius_x;
        const bool inside_y =
            y >= shape.y + shape.radius_y && y + 1 <= shape.y + shape.height - shape.radius_y;
        if (!inside_x && !inside_y) continue;
        EXPECT_EQ(rounded.at<uint16_t>(x, y), plain.at<uint16_t>(x, y))
            << x << ", " << y << ", " << text(shape);
      }
    }
  }
}

TEST(Alpha, WildRoundedRectanglesStayInside) {
  for (uint64_t seed = 0; seed < 20000; ++seed) {
    Random random(seed);
    Frame plane = random_plane(random);
    const auto number = [&] { return random.chance(2) ? wild(random) : random.real(-20, 60); };
    const RectShape shape{number(), number(), number(), number(), number(), number()};
    const auto before = plane.bytes();
    draw(plane, shape, kProfiles[seed % 4] | static_cast<uint32_t>(random.between(0, 31)));
    const auto after = plane.bytes();
    // Nothing before the first line, in the padding, or in a plane without room for words.
    const bool has_room = 2 * plane->width <= plane->pitch;
    for (size_t i = 0; i < after.size(); ++i) {
      const bool outside = i < plane.offset() || (i - plane.offset()) % static_cast<size_t>(plane->pitch) >=
                                                     static_cast<size_t>(2 * plane->width);
      if (outside || !has_room) {
        ASSERT_EQ(before[i], after[i]) << "byte " << i << ", seed " << seed << ", " << text(shape);
      }
    }
  }
}

// ---- Discs ----

CircleShape circle(Random& random) {
  CircleShape shape{coordinate(random, -20, 70), coordinate(random, -10, 30), coordinate(random, 0, 40), 0,
                    1};
  if (random.chance(2)) shape.softness = random.chance(3) ? random.real(0, 0.5f) : coordinate(random, 0, 50);
  if (random.chance(4)) shape.radius = random.real(0, 1.5f);
  if (random.chance(3)) shape.aspect = random.chance(2) ? 2 : random.real(0.1f, 3);
  if (random.chance(8)) shape.cy *= shape.aspect;
  return shape;
}

TEST(Alpha, DiscsFollowTheirFormula) {
  for (uint64_t seed = 0; seed < 20000; ++seed) {
    Random random(seed);
    Frame plane = random_plane(random);
    CircleShape shape = circle(random);
    if (random.chance(5)) (&shape.cx)[random.between(0, 4)] = wild(random);
    if (random.chance(20)) (&shape.cx)[random.between(0, 4)] = wild(random);
    if (random.chance(12)) shape.aspect = -shape.aspect;
    // Only three bits are read.
    const uint32_t flags = random.next();
    compare_with(model_alpha_circle, shape, flags, plane, seed);
  }
}

// Long spans, bands of many pixels a step and of many steps a pixel.
TEST(Alpha, LargeDiscsFollowTheirFormula) {
  for (uint64_t seed = 0; seed < 150; ++seed) {
    Random random(seed);
    Frame plane(random.between(500, 900), 12, BMP_FORMAT_KEY16, random);
    CircleShape shape{coordinate(random, -400, 1200), coordinate(random, -600, 600), 0, 0, 1};
    shape.radius = std::fabs(shape.cy) + random.real(1, random.chance(3) ? 20000 : 800);
    shape.softness = random.chance(3) ? random.real(0.1f, 20) : shape.radius * random.real(0.1f, 1.5f);
    if (random.chance(4)) shape.aspect = random.real(0.2f, 3);
    compare_with(model_alpha_circle, shape, seed % 2 * BMP_ALPHA_COSINE, plane, seed);
  }
}

TEST(Alpha, DiscValues) {
  // Depth 256 of 1024 in the band.
  for (const auto& [flags, quarter] : {std::pair{0u, 1024}, std::pair{BMP_ALPHA_COSINE, 600}}) {
    Frame plane = zeroed(64, 1);
    draw(plane, CircleShape{0.5f, 0.5f, 40, 32, 1}, flags);
    EXPECT_EQ(plane.at<uint16_t>(0, 0), 4096);
    EXPECT_EQ(plane.at<uint16_t>(24, 0), 2048);
    EXPECT_EQ(plane.at<uint16_t>(32, 0), quarter);
    EXPECT_EQ(plane.at<uint16_t>(41, 0), 0);
  }
  // Far outside, or without a radius: every line of the field becomes 0.
  for (const CircleShape& shape : {CircleShape{-500, 5, 400, 0, 1}, CircleShape{-500, 5, 400, 60, 1},
                                   CircleShape{5, 900, 400, 0, 1}, CircleShape{5, 5, -3, 0, 1}}) {
    Random random(1);
    Frame plane(20, 10, BMP_FORMAT_KEY16, random);
    draw(plane, shape, 0);
    for (int32_t y = 0; y < 10; ++y) {
      for (int32_t x = 0; x < 20; ++x) EXPECT_EQ(plane.at<uint16_t>(x, y), 0) << text(shape);
    }
  }
}

TEST(Alpha, CentredDiscsAreSymmetric) {
  for (const float softness : {0.0f, 0.7f, 5.0f, 19.5f}) {
    for (const float radius : {0.4f, 3.0f, 10.5f, 19.5f}) {
      for (const float aspect : {1.0f, 2.0f, 0.5f}) {
        Frame plane = zeroed(40, 40);
        draw(plane, CircleShape{20, 20 * aspect, radius, softness, aspect}, BMP_ALPHA_COSINE);
        for (int32_t y = 0; y < 40; ++y) {
          for (int32_t x = 0; x < 40; ++x) {
            const auto value = plane.at<uint16_t>(x, y);
            ASSERT_EQ(value, plane.at<uint16_t>(39 - x, y))
                << x << ", " << y << " " << radius << " " << softness;
            ASSERT_EQ(value, plane.at<uint16_t>(x, 39 - y))
                << x << ", " << y << " " << radius << " " << softness;
            if (aspect == 1) {
              ASSERT_NEAR(value, plane.at<uint16_t>(y, x), 600) << x << ", " << y << " " << radius;
            }
          }
        }
      }
    }
  }
}

double largest_error(const CircleShape& shape, uint32_t flags) {
  Frame plane = zeroed(48, 44);
  draw(plane, shape, flags);
  double largest = 0;
  for (int32_t y = 0; y < plane->height; ++y) {
    for (int32_t x = 0; x < plane->width; ++x) {
      largest =
          std::max(largest, std::fabs(plane.at<uint16_t>(x, y) - model_circle_mean(shape, x, y, flags)));
    }
  }
  return largest;
}

TEST(Alpha, DiscsAreAsTrueAsTheirSamples) {
  for (uint64_t seed = 0; seed < 12; ++seed) {
    Random random(seed);
    CircleShape shape{random.real(16, 30), random.real(16, 26), random.real(4, 14), 0, 1};
    // 4 samples an axis place an edge within 1/8 pixel.
    EXPECT_LE(largest_error(shape, 0), 4096 / 8 + 64) << text(shape);
    // Over 32 pixels the profile falls at most 201 a pixel: 2 samples an axis are enough.
    const uint32_t flags = seed % 2 * BMP_ALPHA_COSINE;
    shape.softness = random.real(32, 34);
    shape.radius = random.real(35, 40);
    EXPECT_LE(largest_error(shape, flags), 16) << text(shape);
    // A band without an inner disc comes to a point, which one sample overshoots: a pixel's points are
    // 0.39 pixels from its centre in the mean.
    shape.radius = random.real(4, 31);
    EXPECT_LE(largest_error(shape, flags), 0.39 * 201 + 2) << text(shape);
  }
}

}  // namespace
}  // namespace dorbmp::test
