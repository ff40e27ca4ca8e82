// bmp_map_polygon with smooth edges, textured and filled with one value.
#include <gtest/gtest.h>

#include <cmath>

#include "models/polygon_model.h"
#include "support/levels.h"
#include "support/polygons.h"

namespace dorbmp::test {
namespace {

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

}  // namespace
}  // namespace dorbmp::test
