// bmp_map_polygon: exact scan conversion against the model, and what must hold whatever the arithmetic.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "dorbmp/mapping/spans/tables.h"
#include "models/polygon_model.h"
#include "support/levels.h"
#include "support/polygons.h"

namespace dorbmp::test {
namespace {

// Any polygon over the picture and beyond, also with crossing edges and vertices on line and pixel centres.
Vertices random_polygon(Random& random, float width, float height, float texture_width, float texture_height,
                        bool perspective) {
  Vertices vertices(static_cast<size_t>(random.between(1, 9)));
  const float q = random.real(0.5f, 2.0f);
  for (PolygonVertex& v : vertices) {
    v.x = random.real(-0.3f * width, 1.3f * width);
    v.y = random.real(-0.3f * height, 1.3f * height);
    if (random.chance(3)) v.y = std::floor(v.y) + 0.5f;
    if (random.chance(3)) v.x = std::floor(v.x) + 0.5f;
    if (random.chance(10)) v.y = -3000.0f;
    // As far as the fixed point goes: corners near the eye plane.
    if (random.chance(20)) v.x = random.real(-520000.0f, 520000.0f);
    if (random.chance(20)) v.y = random.real(0.0f, 520000.0f);
    v.u = random.real(-0.2f, 1.2f) * texture_width;
    v.v = random.real(-0.2f, 1.2f) * texture_height;
    v.q = perspective ? random.real(0.2f, 2.0f) : q;
  }
  return vertices;
}

void check_against_model(uint64_t seed, int level) {
  Random random(seed);
  const FormatPair formats = kFormats[seed % 5];
  const bool is_matte8 = formats.texture == BMP_FORMAT_KEY8;
  const uint32_t field_mode = random.chance(3) ? 2u : 0u;
  Frame texture(random.between(8, 40), random.between(10, 40), formats.texture, random,
                {.extra_pitch = 16 * random.between(0, 1), .field_mode = field_mode});
  Frame expected(random.between(1, 60), random.between(1, 50), formats.dst, random);
  Frame got(expected->width, expected->height, formats.dst, random);
  got.set_bytes(expected.bytes());
  const uint32_t plane_format = random.chance(2) ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16;
  Frame cover(expected->width, expected->height, plane_format, random);
  Frame got_cover(expected->width, expected->height, plane_format, random);
  got_cover.set_bytes(cover.bytes());
  const bool covered = random.chance(2);
  const bool with_depths = !is_matte8 && random.chance(3);
  Frame depths(expected->width, expected->height, BMP_FORMAT_RGB32, random);
  for (int32_t y = 0; y < depths->height; ++y) {
    for (int32_t x = 0; x < depths->width; ++x) depths.set(x, y, random.real(0.0f, 1.5f));
  }
  Frame got_depths(expected->width, expected->height, BMP_FORMAT_RGB32, random);
  got_depths.set_bytes(depths.bytes());

  PolygonCall call{.dst = expected,
                   .cover = covered ? std::addressof(cover) : nullptr,
                   .matte = with_depths ? std::addressof(depths) : nullptr,
                   .texture = texture,
                   .vertices = {},
                   .flags = static_cast<uint32_t>(random.between(0, 3)),
                   .color = random.next() | 1,
                   .level = level};
  call.vertices = random_polygon(random, static_cast<float>(expected->width),
                                 static_cast<float>(expected->height), static_cast<float>(texture->width),
                                 static_cast<float>(texture->height), random.chance(2));
  if (random.chance(4)) call.flags |= BMP_MAP_NEAREST;
  draw_polygon(call);

  const uint32_t flags = call.flags | (is_matte8 ? uint32_t{BMP_MAP_AUX} : 0u);
  bmp_map_polygon(&got, covered ? &got_cover : nullptr, with_depths ? &got_depths : nullptr,
                  is_matte8 ? BMP_VALUE(call.color) : &texture, is_matte8 ? &texture : nullptr,
                  call.vertices.data(), static_cast<int32_t>(call.vertices.size()), flags);
  ASSERT_EQ(difference(expected.bytes(), got), "") << "seed " << seed << " level " << level;
  ASSERT_EQ(difference(cover.bytes(), got_cover), "") << "cover, seed " << seed;
  ASSERT_EQ(difference(depths.bytes(), got_depths), "") << "depths, seed " << seed;
}

TEST(MapPolygon, AgreesWithModel) {
  for (uint64_t seed = 0; seed < 6000; ++seed) {
    const Setting setting = kSettings[seed % kSettings.size()];
    const AtLevel at(setting);
    check_against_model(seed, setting.level);
    if (HasFatalFailure()) return;
  }
}

TEST(MapPolygon, IdentityReproducesTexture) {
  Random random(2);
  for (const int level : {0, 2, 4}) {
    if (level > kHighestLevel) continue;
    const AtLevel at(level);
    for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_KEY16}) {
      for (const uint32_t flags : {0u, 0x8000u}) {
        // Filtered, the last texel and line are never shown whole.
        for (const int offset : flags == 0 ? std::vector<int>{2, 6} : std::vector<int>{0, 2, 6}) {
          Frame texture(66, 37, format, random);
          Frame dst(66, 37, format, random);
          const float w = 66.0f, h = 37.0f, shift = static_cast<float>(offset);
          map(dst, nullptr, nullptr, texture, rectangle(shift, shift, w, h, 0.0f, 0.0f, w, h), flags);
          const auto bytes = static_cast<size_t>((66 - offset) * bytes_per_pixel(format));
          for (int y = offset; y < 37; ++y) {
            ASSERT_EQ(
                std::memcmp(dst.row(y) + offset * bytes_per_pixel(format), texture.row(y - offset), bytes), 0)
                << "format " << format << " flags " << flags << " level " << level << " line " << y;
          }
        }
      }
    }
  }
}

// Fans around any point and strips of any grid cover each pixel of a rectangle once.
TEST(MapPolygon, FansAndStripsCoverOnce) {
  constexpr int kWidth = 61, kHeight = 47;
  for (uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    const float w = static_cast<float>(kWidth), h = static_cast<float>(kHeight);
    std::vector<Vertices> triangles;
    const auto vertex = [](float x, float y) { return PolygonVertex{0.0f, 0.0f, 1.0f, x, y}; };
    if (seed % 2 == 0) {
      Vertices rim;
      const auto along = [&](float x0, float y0, float x1, float y1) {
        std::vector<float> stops = {0.0f};
        for (int i = random.between(0, 5); i > 0; --i) stops.push_back(random.real(0.0f, 1.0f));
        std::sort(stops.begin(), stops.end());
        for (const float t : stops) rim.push_back(vertex(x0 + (x1 - x0) * t, y0 + (y1 - y0) * t));
      };
      along(0.0f, 0.0f, w, 0.0f);
      along(w, 0.0f, w, h);
      along(w, h, 0.0f, h);
      along(0.0f, h, 0.0f, 0.0f);
      const PolygonVertex hub = vertex(random.real(5.0f, w - 5.0f), random.real(5.0f, h - 5.0f));
      for (size_t i = 0; i < rim.size(); ++i) triangles.push_back({hub, rim[i], rim[(i + 1) % rim.size()]});
    } else {
      std::vector<PolygonVertex> strip = {vertex(0.0f, 0.0f), vertex(0.0f, h)};
      for (float x = 0.0f; x < w;) {
        x = std::min(x + random.real(0.5f, 12.0f), w);
        strip.push_back(vertex(x, 0.0f));
        strip.push_back(vertex(x, h));
      }
      for (size_t i = 0; i + 2 < strip.size(); ++i)
        triangles.push_back({strip[i], strip[i + 1], strip[i + 2]});
    }
    Frame texture(4, 4, BMP_FORMAT_KEY16, random);
    for (int i = 0; i < 16; ++i) texture.set(i % 4, i / 4, uint16_t{1});
    for (const bool by_field : {false, true}) {
      std::vector<int> drawn(kWidth * kHeight);
      for (const Vertices& triangle : triangles) {
        Frame dst(kWidth, kHeight, BMP_FORMAT_KEY16, random);
        clear(dst);
        for (const uint32_t flags : by_field ? std::vector<uint32_t>{2, 3} : std::vector<uint32_t>{0}) {
          map(dst, nullptr, nullptr, texture, triangle, flags | BMP_MAP_NEAREST);
        }
        for (int i = 0; i < kWidth * kHeight; ++i) {
          drawn[static_cast<size_t>(i)] += dst.at<uint16_t>(i % kWidth, i / kWidth);
        }
      }
      for (int i = 0; i < kWidth * kHeight; ++i) {
        ASSERT_EQ(drawn[static_cast<size_t>(i)], 1)
            << "pixel " << i % kWidth << "," << i / kWidth << " seed " << seed;
      }
    }
  }
}

// Shrinking factors in the middle of each class.
constexpr float kAcross[] = {1.0f, 1.6f, 2.3f, 4.0f, 8.0f};
constexpr float kDown[] = {1.0f, 1.2f, 2.0f, 4.0f};

// The mean of the texture over a box, by double-precision overlap.
double box_average(Frame& texture, int channel, double left, double top, double width, double height) {
  double sum = 0.0;
  for (int j = static_cast<int>(std::floor(top)); j < top + height; ++j) {
    const double line = std::min(top + height, j + 1.0) - std::max(top, static_cast<double>(j));
    for (int i = static_cast<int>(std::floor(left)); i < left + width; ++i) {
      const double column = std::min(left + width, i + 1.0) - std::max(left, static_cast<double>(i));
      sum += line * column * texture.row(j)[4 * i + channel];
    }
  }
  return sum / (width * height);
}

TEST(MapPolygon, FiltersAreBoxAverages) {
  const AtLevel plain(0);
  Random random(5);
  constexpr double kWidths[] = {1.0, 2.0, 3.0, 4.0, 8.0}, kHeights[] = {1.0, 1.5, 2.0, 4.0};
  Frame texture(200, 100, BMP_FORMAT_RGB32, random);
  for (int slot = 1; slot < 21; ++slot) {
    const double across = kAcross[(slot - 1) % 5], down = kDown[(slot - 1) / 5];
    const double width = kWidths[(slot - 1) % 5], height = kHeights[(slot - 1) / 5];
    Frame dst(16, 16, BMP_FORMAT_RGB32, random);
    // No sample point lies where single precision could take the other of two 7-bit fractions.
    const double left = 20.25 + 0.1 / 128.0, top = 10.75 + 0.1 / 128.0;
    map(dst, nullptr, nullptr, texture,
        rectangle(0.0f, 0.0f, 16.0f, 16.0f, static_cast<float>(left), static_cast<float>(top),
                  static_cast<float>(16.0 * across), static_cast<float>(16.0 * down)),
        0);
    for (int y = 0; y < 16; ++y) {
      for (int x = 0; x < 16; ++x) {
        const double u = left + (x + 0.5) * across, v = top + (y + 0.5) * down;
        const double average = box_average(texture, x % 4, std::floor((u - width / 2) * 128.0) / 128.0,
                                           std::floor((v - height / 2) * 128.0) / 128.0, width, height);
        ASSERT_NEAR(dst.row(y)[4 * x + x % 4], average, 1.0) << "slot " << slot << " at " << x << "," << y;
      }
    }
  }
}

TEST(MapPolygon, Arguments) {
  Random random(7);
  Frame texture(32, 16, BMP_FORMAT_RGB32, random), other(32, 16, BMP_FORMAT_RGB32, random);
  Frame depths(32, 16, BMP_FORMAT_RGB32, random);
  const Vertices quad = rectangle(0.0f, 0.0f, 32.0f, 16.0f, 0.0f, 0.0f, 32.0f, 16.0f);
  const auto shows = [](Frame& dst, Frame& picture) {
    for (int y = 0; y < 16; ++y) {
      if (std::memcmp(dst.row(y), picture.row(y), 128) != 0) return false;
    }
    return true;
  };
  {  // Without a destination the plane is one.
    Frame dst(32, 16, BMP_FORMAT_RGB32, random);
    bmp_map_polygon(nullptr, &dst, nullptr, &texture, nullptr, quad.data(), 4, BMP_MAP_NEAREST);
    EXPECT_TRUE(shows(dst, texture));
  }
  {  // Without the first texture, or with the flag, the second one. Equal weights need no auxiliary value.
    Frame dst(32, 16, BMP_FORMAT_RGB32, random);
    bmp_map_polygon(&dst, nullptr, nullptr, nullptr, &other, quad.data(), 4, BMP_MAP_NEAREST);
    EXPECT_TRUE(shows(dst, other));
    bmp_map_polygon(&dst, nullptr, nullptr, &other, &texture, quad.data(), 4, BMP_MAP_AUX | BMP_MAP_NEAREST);
    EXPECT_TRUE(shows(dst, texture));
  }
  {  // With the flag and unequal weights the first argument is one row of depths for every line.
    Frame dst(32, 16, BMP_FORMAT_RGB32, random);
    const std::vector<uint8_t> before = dst.bytes();
    std::vector<float> row(32, 10.0f);
    Vertices tilted = quad;
    tilted[0].q = 1.001f;
    bmp_map_polygon(&dst, nullptr, nullptr, row.data(), &texture, tilted.data(), 4, BMP_MAP_AUX);
    EXPECT_EQ(difference(before, dst), "");
    bmp_map_polygon(&dst, nullptr, nullptr, nullptr, &texture, tilted.data(), 4, BMP_MAP_AUX);
    EXPECT_EQ(difference(before, dst), "") << "no depths at all";
    row.assign(32, -1.0f);
    bmp_map_polygon(&dst, nullptr, nullptr, row.data(), &texture, tilted.data(), 4,
                    BMP_MAP_AUX | BMP_MAP_NEAREST);
    EXPECT_NE(difference(before, dst), "");
    EXPECT_GT(row[5], 0.9f);
  }
  {  // No kernel: neither picture nor plane.
    Frame dst(32, 16, BMP_FORMAT_YUY2, random), cover(32, 16, BMP_FORMAT_KEY16, random);
    const std::vector<uint8_t> before = dst.bytes(), cover_before = cover.bytes();
    Frame matte8(32, 16, BMP_FORMAT_KEY8, random);
    map(dst, &cover, nullptr, texture, quad, 0);
    map(dst, &cover, nullptr, matte8, quad, 0);
    Frame depth8(32, 16, BMP_FORMAT_KEY8, random);
    Frame rgb(32, 16, BMP_FORMAT_RGB32, random);
    const std::vector<uint8_t> rgb_before = rgb.bytes();
    map(rgb, &cover, &depth8, texture, quad, 0);  // too small to be a depth buffer
    EXPECT_EQ(difference(before, dst), "");
    EXPECT_EQ(difference(rgb_before, rgb), "");
    EXPECT_EQ(difference(cover_before, cover), "");
  }
}

// A colour through an 8-bit texture is the caller's, whatever depths stand beside it.
TEST(MapPolygon, DepthsAreNoColor) {
  Random random(8);
  Frame matte8(32, 16, BMP_FORMAT_KEY8, random);
  Frame depths(32, 16, BMP_FORMAT_RGB32, random), others(32, 16, BMP_FORMAT_RGB32, random);
  const Vertices quad = rectangle(0.0f, 0.0f, 32.0f, 16.0f, 0.0f, 0.0f, 32.0f, 16.0f);
  for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    Frame dst(32, 16, format, random);
    const std::vector<uint8_t> before = dst.bytes();
    std::vector<uint8_t> expected;
    for (Bitmap* const plane : {static_cast<Bitmap*>(nullptr), &depths, &others}) {
      const std::vector<uint8_t> depths_before = depths.bytes();
      dst.set_bytes(before);
      bmp_map_polygon(&dst, nullptr, plane, BMP_VALUE(0x123456), &matte8, quad.data(), 4, BMP_MAP_AUX);
      if (plane == nullptr) expected = dst.bytes();
      EXPECT_EQ(difference(expected, dst), "") << "format " << format;
      EXPECT_EQ(difference(depths_before, depths), "");
      dst.set_bytes(before);
      bmp_map_polygon(&dst, nullptr, plane, nullptr, &matte8, quad.data(), 4, 0);
      bmp_map_polygon(&dst, nullptr, plane, &matte8, nullptr, quad.data(), 4, 0);
      EXPECT_EQ(difference(before, dst), "") << "format " << format << " without the flag";
    }
    EXPECT_NE(expected, before);
  }
}

// ---- Calls outside the contract ------------------------------------------------------------------------

TEST(MapPolygon, WildNumbersStayInside) {
  constexpr float kWild[] = {0.0f,
                             -0.0f,
                             1e-30f,
                             1e30f,
                             -1e30f,
                             3e38f,
                             -3e38f,
                             1e9f,
                             -1e9f,
                             262144.0f,
                             -262144.0f,
                             524288.0f,
                             std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN()};
  for (uint64_t seed = 0; seed < 4000; ++seed) {
    Random random(seed);
    const AtLevel at(random.between(0, kHighestLevel));
    const FormatPair formats = kFormats[random.between(0, 4)];
    Frame texture(random.between(0, 12), random.between(0, 8), formats.texture, random,
                  {.field_mode = random.chance(4) ? 2u : 0u});
    Frame dst(random.between(0, 30), random.between(0, 20), formats.dst, random);
    Frame cover(random.between(0, 30), random.between(0, 20),
                random.chance(2) ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16, random);
    Frame matte(random.between(0, 30), random.between(0, 20), BMP_FORMAT_RGB32, random);
    Vertices vertices(static_cast<size_t>(random.between(1, 7)));
    for (PolygonVertex& v : vertices) {
      for (float* field : {&v.u, &v.v, &v.q, &v.x, &v.y}) {
        *field = random.chance(6) ? kWild[random.between(0, static_cast<int>(std::size(kWild)) - 1)]
                                  : random.real(-30.0f, 50.0f);
      }
      if (v.y < -1e5f && !random.chance(20)) v.y = -50.0f;  // a long way to walk
      if (random.chance(2)) v.q = 1.0f;
    }
    const uint32_t flags = random.next() & (random.chance(3) ? 0xC033u : 0x4003u);
    const bool aux = (flags & BMP_MAP_AUX) != 0;
    std::vector<float> row(30);
    const void* const value = formats.texture == BMP_FORMAT_KEY8 || random.chance(2)
                                  ? static_cast<const void*>(nullptr)
                                  : row.data();
    bmp_map_polygon(&dst, random.chance(2) ? &cover : nullptr, random.chance(3) ? &matte : nullptr,
                    aux ? value : &texture, aux ? &texture : nullptr, vertices.data(),
                    static_cast<int32_t>(vertices.size()), flags);
    ASSERT_TRUE(x87_is_empty()) << seed;
  }
}

TEST(MapPolygon, VertexCounts) {
  Random random(11);
  Frame texture(8, 8, BMP_FORMAT_RGB32, random), dst(64, 64, BMP_FORMAT_RGB32, random);
  const std::vector<uint8_t> before = dst.bytes();
  Vertices circle(BMP_MAX_VERTICES + 1);
  for (size_t i = 0; i < circle.size(); ++i) {
    const float angle = 6.2831855f * static_cast<float>(i) / static_cast<float>(circle.size());
    circle[i] = {4.0f, 4.0f, 1.0f, 32.0f + 30.0f * std::cos(angle), 32.0f + 30.0f * std::sin(angle)};
  }
  for (const int32_t count : {0, -1, INT32_MIN, BMP_MAX_VERTICES + 1, INT32_MAX}) {
    for (const uint32_t flags : {0u, 0x4000u, 0x30u}) {
      bmp_map_polygon(&dst, nullptr, nullptr, &texture, &texture, circle.data(), count, flags);
    }
  }
  EXPECT_EQ(difference(before, dst), "");
  for (const uint32_t flags : {0u, 0x4000u, 0x30u}) {
    dst.set_bytes(before);
    bmp_map_polygon(&dst, nullptr, nullptr, &texture, flags == 0x30u ? BMP_VALUE(4096) : &texture,
                    circle.data(), BMP_MAX_VERTICES, flags);
    EXPECT_NE(difference(before, dst), "");
  }
}

}  // namespace
}  // namespace dorbmp::test
