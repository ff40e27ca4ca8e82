// bmp_map_polygon: exact scan conversion against the model, and what must hold whatever the arithmetic.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "dorbmp/mapping/spans/tables.h"
#include "models/polygon_model.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

using Vertices = std::vector<PolygonVertex>;

void map(Frame& dst, Bitmap* cover, Bitmap* matte, Frame& texture, const Vertices& vertices, uint32_t flags) {
  bmp_map_polygon(&dst, cover, matte, &texture, nullptr, vertices.data(),
                  static_cast<int32_t>(vertices.size()), flags);
}

// A rectangle of the texture, shown as a rectangle.
Vertices rectangle(float x, float y, float width, float height, float u, float v, float texels, float lines,
                   float q = 1.0f) {
  return {{u, v, q, x, y},
          {u + texels, v, q, x + width, y},
          {u + texels, v + lines, q, x + width, y + height},
          {u, v + lines, q, x, y + height}};
}

void clear(Frame& frame) {
  std::memset(frame.row(0), 0, static_cast<size_t>(frame->pitch) * static_cast<size_t>(frame->height));
}

void fill_constant(Frame& frame, uint8_t byte) {
  std::memset(frame.row(0), byte, static_cast<size_t>(frame->pitch) * static_cast<size_t>(frame->height));
}

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

struct FormatPair {
  uint32_t texture, dst;
};
constexpr FormatPair kFormats[] = {{BMP_FORMAT_YUY2, BMP_FORMAT_YUY2},
                                   {BMP_FORMAT_RGB32, BMP_FORMAT_RGB32},
                                   {BMP_FORMAT_KEY16, BMP_FORMAT_KEY16},
                                   {BMP_FORMAT_KEY8, BMP_FORMAT_YUY2},
                                   {BMP_FORMAT_KEY8, BMP_FORMAT_RGB32}};

void check_against_model(uint64_t seed) {
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
                   .color = random.next() | 1};
  call.vertices = random_polygon(random, static_cast<float>(expected->width),
                                 static_cast<float>(expected->height), static_cast<float>(texture->width),
                                 static_cast<float>(texture->height), random.chance(2));
  if (random.chance(4)) call.flags |= BMP_MAP_NEAREST;
  draw_polygon(call);

  const uint32_t flags = call.flags | (is_matte8 ? uint32_t{BMP_MAP_AUX} : 0u);
  bmp_map_polygon(&got, covered ? &got_cover : nullptr, with_depths ? &got_depths : nullptr,
                  is_matte8 ? BMP_VALUE(call.color) : &texture, is_matte8 ? &texture : nullptr,
                  call.vertices.data(), static_cast<int32_t>(call.vertices.size()), flags);
  ASSERT_EQ(difference(expected.bytes(), got), "") << "seed " << seed;
  ASSERT_EQ(difference(cover.bytes(), got_cover), "") << "cover, seed " << seed;
  ASSERT_EQ(difference(depths.bytes(), got_depths), "") << "depths, seed " << seed;
}

TEST(MapPolygon, AgreesWithModel) {
  const AtLevel plain(0);
  for (uint64_t seed = 0; seed < 3000; ++seed) {
    check_against_model(seed);
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

TEST(MapPolygon, ConstantTexturesStayConstant) {
  Random random(4);
  const auto check = [&](FormatPair formats, uint8_t value, int slot, bool perspective) {
    Frame texture(200, 100, formats.texture, random);
    fill_constant(texture, value);
    Frame dst(40, 40, formats.dst, random);
    Vertices quad = rectangle(0.0f, 0.0f, 40.0f, 40.0f, 3.3f, 2.1f, 40.0f * kAcross[(slot - 1) % 5],
                              40.0f * kDown[(slot - 1) / 5]);
    if (perspective) quad[1].q = 1.0001f;
    map(dst, nullptr, nullptr, texture, quad, 0);
    const int row_bytes = 40 * bytes_per_pixel(formats.dst);
    int wrong = 0;
    for (int y = 0; y < 40; ++y) {
      wrong += row_bytes - static_cast<int>(std::count(dst.row(y), dst.row(y) + row_bytes, value));
    }
    return wrong;
  };
  for (const Setting setting : kSettings) {
    const AtLevel at(setting);
    for (const FormatPair formats : {kFormats[0], kFormats[1], kFormats[2]}) {
      for (const uint8_t value : {0, 1, 77, 128, 254, 255}) {
        for (int slot = 1; slot < 21; ++slot) {
          for (const bool perspective : {false, true}) {
            ASSERT_EQ(check(formats, value, slot, perspective), 0)
                << "value " << int{value} << " slot " << slot << " level " << setting.level << " perspective "
                << perspective;
          }
        }
      }
    }
  }
}

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

TEST(MapPolygon, NearlyEqualWeightsAgreeWithAffine) {
  Random random(6);
  // A smooth picture: a coordinate off by a hair stays within a level.
  Frame texture(128, 96, BMP_FORMAT_RGB32, random);
  for (int y = 0; y < 96; ++y) {
    for (int x = 0; x < 512; ++x) texture.row(y)[x] = static_cast<uint8_t>(x / 4 + y);
  }
  for (const int level : {0, 4}) {
    if (level > kHighestLevel) continue;
    const AtLevel at(level);
    for (const float scale : {0.7f, 1.5f, 3.0f}) {
      Frame affine(120, 90, BMP_FORMAT_RGB32, random), perspective(120, 90, BMP_FORMAT_RGB32, random);
      perspective.set_bytes(affine.bytes());
      Vertices quad = {{2.0f, 3.0f, 1.0f, 10.0f, 8.0f},
                       {120.0f, 3.0f, 1.0f, 10.0f + 80.0f / scale, 20.0f},
                       {120.0f, 90.0f, 1.0f, 5.0f + 80.0f / scale, 20.0f + 60.0f / scale},
                       {2.0f, 90.0f, 1.0f, 5.0f, 8.0f + 60.0f / scale}};
      map(affine, nullptr, nullptr, texture, quad, 0);
      for (PolygonVertex& v : quad) v.q = 1.0f + 1e-6f * static_cast<float>(&v - quad.data());
      map(perspective, nullptr, nullptr, texture, quad, 0);
      for (int y = 0; y < 90; ++y) {
        for (int x = 0; x < 480; ++x) {
          ASSERT_NEAR(affine.row(y)[x], perspective.row(y)[x], 1.0)
              << "level " << level << " scale " << scale;
        }
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

// ---- Smooth edges ----------------------------------------------------------------------------------------

// The share of a pixel inside a convex polygon given clockwise, by 32 x 96 samples on the sub-lines' thirds.
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

// Upright edges: the coverage is exact, and so is the mix.
TEST(MapPolygonSmooth, MixesByCoverage) {
  Random random(9);
  for (const FormatPair formats : {kFormats[0], kFormats[1], kFormats[2]}) {
    Frame texture(16, 16, formats.texture, random), dst(24, 8, formats.dst, random);
    fill_constant(texture, 200);
    fill_constant(dst, 40);
    const int old_word = 40 * 257, new_word = 200 * 257;
    map(dst, nullptr, nullptr, texture, rectangle(4.25f, 1.0f, 10.5f, 6.0f, 0.0f, 0.0f, 10.5f, 6.0f),
        BMP_MAP_SMOOTH);
    const auto at = [&](int x) -> int {
      return formats.dst == BMP_FORMAT_KEY16 ? dst.at<uint16_t>(x, 3)
                                             : dst.row(3)[x * bytes_per_pixel(formats.dst)];
    };
    const auto mixed = [&](double share) {
      const int old_value = formats.dst == BMP_FORMAT_KEY16 ? old_word : 40;
      const int new_value = formats.dst == BMP_FORMAT_KEY16 ? new_word : 200;
      return static_cast<int>(std::floor(new_value * share + old_value * (1 - share) + 0.5));
    };
    EXPECT_EQ(at(3), mixed(0.0));
    EXPECT_EQ(at(4), mixed(0.75));
    EXPECT_EQ(at(5), mixed(1.0));
    EXPECT_EQ(at(13), mixed(1.0));
    EXPECT_EQ(at(14), mixed(0.75));
    EXPECT_EQ(at(15), mixed(0.0));
    if (formats.dst == BMP_FORMAT_YUY2) {
      EXPECT_EQ(dst.row(3)[4 * 2 + 1], mixed(0.75)) << "an even pixel brings its pair's chroma";
      EXPECT_EQ(dst.row(3)[14 * 2 + 3], mixed(0.75));
    }
  }
}

// Interiors hold what they hold without smooth edges.
TEST(MapPolygonSmooth, InteriorIsUnchanged) {
  for (uint64_t seed = 0; seed < 40; ++seed) {
    Random random(seed);
    const FormatPair formats = kFormats[seed % 3];
    Frame texture(64, 64, formats.texture, random);
    for (int y = 0; y < 64; ++y) {  // smooth: sub-lines round their coordinates in another place
      for (int x = 0; x < texture->pitch; ++x) {
        texture.row(y)[x] =
            static_cast<uint8_t>(formats.texture == BMP_FORMAT_KEY16 ? (x % 2 == 0 ? x : 8) : x / 4 + y);
      }
    }
    Frame sharp(80, 80, formats.dst, random), smooth(80, 80, formats.dst, random);
    Frame cover(80, 80, BMP_FORMAT_KEY16, random);
    clear(cover);
    Vertices quad;
    const float turn = random.real(0.0f, 1.5f), size = random.real(10.0f, 50.0f);
    for (int i = 0; i < 4; ++i) {
      const float angle = turn + 1.5707964f * static_cast<float>(i);
      quad.push_back({32.0f + 30.0f * std::cos(angle - turn), 32.0f + 30.0f * std::sin(angle - turn),
                      seed % 2 == 0 ? 1.0f : random.real(0.8f, 1.2f), 40.0f + size * std::cos(angle),
                      40.0f + size * std::sin(angle)});
    }
    map(sharp, nullptr, nullptr, texture, quad, 0);
    map(smooth, nullptr, nullptr, texture, quad, BMP_MAP_SMOOTH);
    // A second drawing in the same place tells which pixels are whole.
    Frame probe(80, 80, BMP_FORMAT_RGB32, random), flat(64, 64, BMP_FORMAT_RGB32, random);
    map(probe, &cover, nullptr, flat, quad, BMP_MAP_SMOOTH);
    int whole = 0;
    for (int y = 0; y < 80; ++y) {
      for (int x = 0; x < 80; ++x) {
        if (cover.at<uint16_t>(x, y) != 4096) continue;
        ++whole;
        if (formats.dst == BMP_FORMAT_KEY16) {
          ASSERT_NEAR(sharp.at<uint16_t>(x, y), smooth.at<uint16_t>(x, y), 3) << "seed " << seed;
        } else {
          const int bytes = bytes_per_pixel(formats.dst);
          ASSERT_NEAR(sharp.row(y)[x * bytes], smooth.row(y)[x * bytes], 1)
              << "seed " << seed << " at " << x << "," << y;
        }
      }
    }
    EXPECT_GT(whole, 100);
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

TEST(MapPolygonOneValue, FillsByOpacity) {
  Random random(10);
  for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    const bool yuy2 = format == BMP_FORMAT_YUY2;
    for (const int32_t opacity : {0, 1000, 4096, 9999}) {
      for (const int plane : {0, 16, 8}) {
        for (const uint32_t flags : {0u, 2u, 3u}) {
          Frame dst(24, 10, format, random);
          Frame cover(24, 10, plane == 8 ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16, random);
          clear(cover);
          std::vector<uint8_t> before = dst.bytes();
          const Vertices quad = rectangle(3.0f, 2.0f, 17.5f, 6.0f, 0.0f, 0.0f, 0.0f, 0.0f);
          bmp_map_polygon(&dst, plane != 0 ? &cover : nullptr, nullptr, BMP_VALUE(0xAA325AC8),
                          BMP_VALUE(opacity), quad.data(), 4, BMP_MAP_ONE_VALUE | flags);
          const int32_t o = std::min(opacity, 4096);
          for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 24; ++x) {
              const bool inside_line =
                  y >= 2 && y < 8 && ((flags & 2) == 0 || y % 2 == static_cast<int>(flags & 1));
              const auto weight_of = [&](int column) {
                const bool in = inside_line && column >= 3 && column <= 20;
                return !in ? 0 : column == 20 ? (o + 1) / 2 : o;
              };
              const int32_t weight = weight_of(x);
              for (int byte = 0; byte < (yuy2 ? 2 : 4); ++byte) {
                const int index = y * dst->pitch + x * (yuy2 ? 2 : 4) + byte;
                const int old = before[static_cast<size_t>(index)];
                constexpr int kYuyv[] = {0x32, 0x5A, 0x32, 0xC8}, kRgb[] = {0xC8, 0x5A, 0x32, 0};
                const int value = yuy2 ? kYuyv[x % 2 * 2 + byte] : kRgb[byte];
                int32_t share = !yuy2 && byte == 3 ? 0 : weight;
                // Chroma goes by the even pixel; with a clear plane nothing old counts.
                if (yuy2 && byte == 1) share = weight_of(x & ~1);
                int expected = (old * (4096 - share) + value * share + 2048) >> 12;
                if (plane != 0 && share > 0) expected = value;
                ASSERT_EQ(dst.bytes()[static_cast<size_t>(index)], expected)
                    << "format " << format << " opacity " << opacity << " plane " << plane << " flags "
                    << flags << " at " << x << "," << y << " byte " << byte;
              }
              const int units = plane == 8 ? 32 : 1;
              const int covered = plane == 8 ? cover.at<uint8_t>(x, y) : cover.at<uint16_t>(x, y);
              ASSERT_EQ(covered, plane == 0 ? 0 : (weight + units / 2) / units) << x << "," << y;
            }
          }
        }
      }
    }
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

TEST(MapPolygon, SmoothEdgesReachFar) {
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
