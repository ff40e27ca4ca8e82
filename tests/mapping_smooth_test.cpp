// bmp_map_polygon with smooth edges.
#include <gtest/gtest.h>

#include <cmath>

#include "models/polygon_model.h"
#include "support/levels.h"
#include "support/polygons.h"

namespace dorbmp::test {
namespace {

double at(const std::array<double, 3>& plane, double x, double y) {
  return plane[0] * x + plane[1] * y + plane[2];
}

// A texture turned and scaled, in perspective every other time.
TexturePlane random_plane(Random& random, int32_t width, int32_t height) {
  const auto real = [&](float low, float high) -> double { return random.real(low, high); };
  const double scale = real(0.2f, 3.0f);
  TexturePlane plane = {.uq = {scale * real(-1, 1), scale * real(-1, 1), real(0, 40)},
                        .vq = {scale * real(-1, 1), scale * real(-1, 1), real(0, 40)},
                        .q = {0, 0, 1}};
  if (random.chance(2)) plane.q = {real(-0.2f, 0.2f) / width, real(-0.2f, 0.2f) / height, 1};
  return plane;
}

// An ellipse's corners anywhere, or an upright rectangle, in that plane.
Vertices random_convex(Random& random, const TexturePlane& plane, float width, float height) {
  const float x = random.real(0.1f, 0.9f) * width, y = random.real(0.1f, 0.9f) * height;
  const float axes[4] = {random.real(1.0f, width), random.real(-10.0f, 10.0f), random.real(-10.0f, 10.0f),
                         random.real(1.0f, height)};
  const bool upright = random.chance(4);
  const int corners = upright ? 4 : random.between(3, 7);
  const float turn = upright ? 0.7853982f : random.real(0.0f, 6.0f);
  Vertices vertices;
  for (int i = 0; i < corners; ++i) {
    const float angle = turn + 6.2831855f * static_cast<float>(i) / static_cast<float>(corners);
    const float across = std::cos(angle), down = std::sin(angle);
    PolygonVertex& v = vertices.emplace_back();
    v.x = x + across * axes[0] + (upright ? 0.0f : down * axes[1]);
    v.y = y + down * axes[3] + (upright ? 0.0f : across * axes[2]);
    const double q = at(plane.q, v.x, v.y);
    v.u = static_cast<float>(at(plane.uq, v.x, v.y) / q);
    v.v = static_cast<float>(at(plane.vq, v.x, v.y) / q);
    v.q = static_cast<float>(q);
  }
  return vertices;
}

// The rules of the blend, for a coverage known to within `slack` units of a pixel's full one.
struct Blend {
  int full;
  int slack;
  bool has_plane;

  // The lowest and highest legal results.
  template <class Result>
  std::pair<double, double> range(double coverage, const Result& result) const {
    const int units = static_cast<int>(std::lround(coverage * full)), reach = coverage > 0.0 ? slack : 0;
    double low = 1e9, high = -1e9;
    for (int i = units - reach; i <= units + reach; ++i) {
      const double value = result(std::clamp(i, 0, full));
      low = std::min(low, value);
      high = std::max(high, value);
    }
    return {low, high};
  }

  double pixel(int units, int sample, int old, int painted) const {
    if (units == 0) return old;
    if (units == full) return sample;
    if (!has_plane) painted = full - units;
    return (static_cast<double>(sample) * units + static_cast<double>(old) * painted) / (units + painted);
  }
};

void check_against_model(uint64_t seed, int level) {
  Random random(seed);
  const FormatPair formats = kFormats[seed % 3];
  const bool is_key16 = formats.dst == BMP_FORMAT_KEY16;
  Frame texture(random.between(10, 40), random.between(12, 40), formats.texture, random,
                {.field_mode = random.chance(3) ? 2u : 0u});
  const int32_t width = random.between(1, 60), height = random.between(1, 50);
  Frame before(width, height, formats.dst, random), samples(width, height, formats.dst, random);
  Frame got(width, height, formats.dst, random);
  got.set_bytes(before.bytes());
  const bool has_plane = !is_key16 && random.chance(2), is_plane8 = random.chance(2);
  const Blend blend = {is_plane8 ? 128 : 4096, is_plane8 ? 1 : 2, has_plane};
  const uint32_t plane_format = is_plane8 ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16;
  Frame painted(width, height, plane_format, random), cover(width, height, plane_format, random);
  const auto held = [&](Frame& frame, int x, int y) -> int {
    return is_plane8 ? frame.at<uint8_t>(x, y) : frame.at<uint16_t>(x, y);
  };
  is_plane8 ? painted.fill_keys8(random) : painted.fill_keys16(random);
  cover.set_bytes(painted.bytes());
  const TexturePlane plane = random_plane(random, width, height);
  PolygonCall call{
      .dst = samples,
      .cover = nullptr,
      .matte = nullptr,
      .texture = texture,
      .vertices = random_convex(random, plane, static_cast<float>(width), static_cast<float>(height)),
      .flags = static_cast<uint32_t>(random.between(0, 3)),
      .color = 0,
      .level = level};
  const SmoothModel model(call, plane);
  map(got, has_plane ? &cover : nullptr, nullptr, texture, call.vertices, call.flags | BMP_MAP_SMOOTH);

  // A fraction that rounds the other way, in both directions.
  const double tolerance = is_key16 ? 3 * 257 : 3;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int old_painted = held(painted, x, y);
      const auto check = [&](double value, int old, int sample, int byte) {
        const auto [low, high] = blend.range(
            model.coverage(x, y), [&](int units) { return blend.pixel(units, sample, old, old_painted); });
        const double apart = model.coverage(x, y) > 0.0 ? tolerance : 0.0;
        ASSERT_TRUE(value >= low - apart && value <= high + apart)
            << value << " is not within " << low << " and " << high << ": seed " << seed << " level " << level
            << " format " << formats.dst << " at " << x << "," << y << " byte " << byte << " coverage "
            << model.coverage(x, y) << " painted " << old_painted;
      };
      if (is_key16) {
        check(got.at<uint16_t>(x, y), before.at<uint16_t>(x, y), samples.at<uint16_t>(x, y), 0);
      } else {
        const std::vector<int> bytes = formats.dst == BMP_FORMAT_RGB32 ? std::vector<int>{0, 1, 2, 3}
                                       : x % 2 == 0                    ? std::vector<int>{0, 1, 3}
                                                                       : std::vector<int>{0};
        for (const int byte : bytes) {
          const int i = x * bytes_per_pixel(formats.dst) + byte;
          check(got.row(y)[i], before.row(y)[i], samples.row(y)[i], byte);
        }
      }
      if (!has_plane) continue;
      const auto [low, high] = blend.range(
          model.coverage(x, y), [&](int units) { return std::min(units + old_painted, blend.full); });
      ASSERT_TRUE(held(cover, x, y) >= low && held(cover, x, y) <= high)
          << "plane holds " << held(cover, x, y) << ", not " << low << " to " << high << ": seed " << seed
          << " at " << x << "," << y;
    }
  }
}

TEST(MapPolygonSmooth, AgreesWithModel) {
  for (uint64_t seed = 0; seed < 3000; ++seed) {
    const Setting setting = kSettings[seed % kSettings.size()];
    const AtLevel at(setting);
    check_against_model(seed, setting.level);
    if (HasFatalFailure()) return;
  }
}

// The share of a pixel inside a convex polygon given clockwise, by 48 x 48 samples.
double sampled_share(const Vertices& polygon, int x, int y) {
  int inside = 0;
  for (int j = 0; j < 48; ++j) {
    for (int i = 0; i < 48; ++i) {
      const double px = x + (i + 0.5) / 48, py = y + (j + 0.5) / 48;
      bool in = true;
      for (size_t k = 0; k < polygon.size(); ++k) {
        const PolygonVertex &a = polygon[k], &b = polygon[(k + 1) % polygon.size()];
        in = in && (b.x - a.x) * (py - a.y) - (b.y - a.y) * (px - a.x) >= 0;
      }
      inside += in;
    }
  }
  return inside / (48.0 * 48.0);
}

TEST(MapPolygonSmooth, CoverageIsArea) {
  for (uint64_t seed = 0; seed < 12; ++seed) {
    Random random(seed);
    Frame texture(16, 16, BMP_FORMAT_RGB32, random), dst(40, 40, BMP_FORMAT_RGB32, random);
    Frame cover(40, 40, seed % 2 == 0 ? BMP_FORMAT_KEY16 : BMP_FORMAT_KEY8, random);
    clear(cover);
    Vertices polygon;
    const float turn = random.real(0.0f, 1.0f);
    for (int i = 0; i < 5; ++i) {
      const float angle = turn + 1.2566371f * static_cast<float>(i);
      polygon.push_back({8.0f + 8.0f * std::cos(angle), 8.0f + 8.0f * std::sin(angle), 1.0f,
                         20.0f + 17.0f * std::cos(angle), 20.0f + 17.0f * std::sin(angle)});
    }
    map(dst, &cover, nullptr, texture, polygon, BMP_MAP_SMOOTH);
    double area = 0.0, sampled_area = 0.0;
    for (int y = 0; y < 40; ++y) {
      for (int x = 0; x < 40; ++x) {
        const double share =
            seed % 2 == 0 ? cover.at<uint16_t>(x, y) / 4096.0 : cover.at<uint8_t>(x, y) / 128.0;
        const double sampled = sampled_share(polygon, x, y);
        area += share;
        sampled_area += sampled;
        // Three levels of steps along edges that are nearly level.
        ASSERT_NEAR(share, sampled, 0.36) << "seed " << seed << " at " << x << "," << y;
      }
    }
    EXPECT_NEAR(area, sampled_area, 0.015 * sampled_area) << seed;
  }
}

// Polygons that share edges leave nothing of the background between them.
TEST(MapPolygonSmooth, NoSeams) {
  for (uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    const bool yuy2 = seed % 2 == 0;
    const uint32_t format = yuy2 ? BMP_FORMAT_YUY2 : BMP_FORMAT_RGB32;
    Frame texture(32, 32, format, random), dst(60, 60, format, random);
    Frame cover(60, 60, seed % 4 < 2 ? BMP_FORMAT_KEY16 : BMP_FORMAT_KEY8, random);
    fill_constant(texture, 200);
    fill_constant(dst, 0);
    clear(cover);
    // A fan around a point inside a rectangle: edges at every angle.
    const PolygonVertex hub = {16.0f, 16.0f, 1.0f, random.real(20.0f, 40.0f), random.real(20.0f, 40.0f)};
    Vertices rim = rectangle(5.0f, 5.0f, 50.0f, 50.0f, 1.0f, 1.0f, 30.0f, 30.0f);
    rim.insert(rim.begin() + 2, {31.0f, 10.0f, 1.0f, 55.0f, random.real(6.0f, 50.0f)});
    const auto draw = [&](const Vertices& triangle) {
      if (seed % 3 == 0) {
        bmp_map_polygon(&dst, &cover, nullptr, BMP_VALUE(0xC8C8C8), BMP_VALUE(4096), triangle.data(), 3,
                        BMP_MAP_ONE_VALUE);
      } else {
        map(dst, &cover, nullptr, texture, triangle, BMP_MAP_SMOOTH);
      }
    };
    for (size_t i = 0; i < rim.size(); ++i) draw({hub, rim[i], rim[(i + 1) % rim.size()]});
    const int full = seed % 4 < 2 ? 4096 : 128;
    for (int y = 5; y < 55; ++y) {
      for (int x = 5; x < 55; ++x) {
        const int share = full == 4096 ? cover.at<uint16_t>(x, y) : cover.at<uint8_t>(x, y);
        ASSERT_GE(share, full * 62 / 100) << "seed " << seed << " at " << x << "," << y;
        ASSERT_EQ(dst.row(y)[x * bytes_per_pixel(format)], 200) << "seed " << seed << " at " << x << "," << y;
      }
    }
  }
}

TEST(MapPolygonSmooth, EdgesReachFar) {
  Random random(12);
  Frame texture(8, 8, BMP_FORMAT_KEY16, random), dst(64, 1010, BMP_FORMAT_KEY16, random);
  for (int32_t y = 0; y < 8; ++y) {
    for (int32_t x = 0; x < 8; ++x) texture.set<uint16_t>(x, y, 4096);
  }
  clear(dst);
  map(dst, nullptr, nullptr, texture, {{4, 4, 1, 0, 0}, {4, 4, 1, 1700, 170000}, {4, 4, 1, 0, 170000}},
      BMP_MAP_SMOOTH);
  double covered = 0;
  for (int32_t x = 0; x < 64; ++x) covered += dst.at<uint16_t>(x, 1000) / 4096.0;
  EXPECT_NEAR(covered, 10.005, 0.005);
}

}  // namespace
}  // namespace dorbmp::test
