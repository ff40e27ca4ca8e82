// Packed 4:2:2 through bmp_map_polygon: colour stays where its luma is, and is the colour that RGB32 gives.
#include <gtest/gtest.h>

#include <cmath>

#include "support/frames.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

using Quad = std::array<PolygonVertex, 4>;

void map(Frame& dst, Frame& texture, const Quad& quad) {
  bmp_map_polygon(&dst, nullptr, nullptr, &texture, nullptr, quad.data(), 4, 0);
}

// A texture of width by height, scaled, with its upper left corner at x, y. tilt: weights that differ.
Quad scaled(float width, float height, float across, float down, float x, float y, float tilt) {
  return {{{0, 0, 1, x, y},
           {width, 0, 1 + tilt, x + width * across, y},
           {width, height, 1 + tilt, x + width * across, y + height * down},
           {0, height, 1, x, y + height * down}}};
}

// Where a falling edge lies in a line, in pixels: as many as are above it.
struct Edge {
  double luma = 0;          // by all pixels
  double luma_of_even = 0;  // by the pixels that bring chroma
  double u = 0, v = 0;
};

Edge edge_in(Frame& dst, int line) {
  Edge edge;
  for (int x = 0; x < dst->width; ++x) {
    const uint8_t* const pixel = dst.row(line) + 2 * x;
    const auto share = [](uint8_t byte, double low, double high) { return (byte - low) / (high - low); };
    edge.luma += share(pixel[0], 40, 200);
    if (x % 2 != 0) continue;
    edge.luma_of_even += 2 * share(pixel[0], 40, 200);
    edge.u += 2 * share(pixel[1], 90, 170);
    edge.v += 2 * share(pixel[3], 170, 90);
  }
  return edge;
}

TEST(MapPolygonChroma, EdgesStayWithTheirLuma) {
  Random random(1);
  for (const Setting& setting : kSettings) {
    const AtLevel at(setting);
    for (const float scale : {0.5f, 1.0f, 2.0f}) {
      for (const float tilt : {0.0f, 1e-6f}) {
        double apart = 0;
        int count = 0;
        for (int place = 32; place < 48; place += 2) {
          Frame texture(80, 12, BMP_FORMAT_YUY2, random);
          for (int y = 0; y < 12; ++y) {
            for (int x = 0; x < 80; x += 2) {
              const Quad::size_type left = x < place ? 1 : 0;
              constexpr uint8_t kPairs[2][4] = {{40, 90, 40, 170}, {200, 170, 200, 90}};
              std::memcpy(texture.row(y) + 2 * x, kPairs[left], 4);
            }
          }
          for (const float shift : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) {
            const auto width = static_cast<int32_t>(80 * scale);
            Frame dst(width, static_cast<int32_t>(12 * scale), BMP_FORMAT_YUY2, random);
            map(dst, texture, scaled(80, 12, scale, scale, 0, 0, tilt));
            // What the shifted polygon does not cover stays as the picture's ends are.
            map(dst, texture, scaled(80, 12, scale, scale, shift, 0, tilt));
            const Edge edge = edge_in(dst, dst->height / 2);
            EXPECT_NEAR(edge.luma, place * scale + shift, 0.51) << "scale " << scale << " edge " << place;
            EXPECT_NEAR(edge.u, edge.luma_of_even, 0.5) << "scale " << scale << " edge " << place;
            EXPECT_NEAR(edge.v, edge.luma_of_even, 0.5) << "scale " << scale << " edge " << place;
            apart += edge.u - edge.luma;
            ++count;
          }
        }
        // An even pixel's point stands for its pair: half a pixel on the average.
        EXPECT_LE(std::fabs(apart / count), 0.51) << "scale " << scale << " level " << setting.level;
      }
    }
  }
}

double rgb_channel(int channel, double y, double u, double v) {
  const double luma = 1.164 * (y - 16), cb = u - 128, cr = v - 128;
  return channel == 0 ? luma + 2.017 * cb : channel == 1 ? luma - 0.392 * cb - 0.813 * cr : luma + 1.596 * cr;
}

TEST(MapPolygonChroma, AgreesWithRgb) {
  Random random(2);
  constexpr int kWidth = 240, kHeight = 120;
  // Gentle waves, so that a neighbouring pair's chroma differs by several levels and nothing is clipped.
  Frame yuv(kWidth, kHeight, BMP_FORMAT_YUY2, random), rgb(kWidth, kHeight, BMP_FORMAT_RGB32, random);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      uint8_t* const pair = yuv.row(y) + x / 2 * 4;
      pair[x % 2 * 2] = static_cast<uint8_t>(std::lround(126 + 20 * std::sin(x / 5.0 + y / 9.0)));
      pair[1] = static_cast<uint8_t>(std::lround(128 + 24 * std::sin((x / 2) / 4.0 - y / 7.0)));
      pair[3] = static_cast<uint8_t>(std::lround(128 + 24 * std::cos((x / 2) / 4.0 + y / 8.0)));
    }
    for (int x = 0; x < kWidth; ++x) {
      const uint8_t* const pair = yuv.row(y) + x / 2 * 4;
      for (int c = 0; c < 3; ++c) {
        rgb.row(y)[4 * x + c] =
            static_cast<uint8_t>(std::lround(rgb_channel(c, pair[x % 2 * 2], pair[1], pair[3])));
      }
    }
  }
  for (const Setting& setting : kSettings) {
    const AtLevel at(setting);
    for (const float across : {2.0f, 1.0f, 0.6f, 0.4f, 0.3f, 0.15f}) {
      for (const float down : {2.0f, 1.0f, 0.8f, 0.5f, 0.3f}) {
        for (const float tilt : {0.0f, 0.1f}) {
          Frame got(96, 40, BMP_FORMAT_YUY2, random), expected(96, 40, BMP_FORMAT_RGB32, random);
          const Quad quad = scaled(kWidth, kHeight, across, down, -20.3f * across, -10.8f * down, tilt);
          map(got, yuv, quad);
          map(expected, rgb, quad);
          // Inside the polygon, at the pixels that bring chroma.
          const int right = std::min(96, static_cast<int>(210 * across)),
                    bottom = std::min(40, static_cast<int>(100 * down));
          for (int y = 0; y < bottom; ++y) {
            for (int x = 0; x < right; x += 2) {
              const uint8_t* const pixel = got.row(y) + 2 * x;
              for (int c = 0; c < 3; ++c) {
                // Half a level in each of Y, U, V makes 1.6 of blue; two halves of RGB, and 1/128 of a texel.
                ASSERT_NEAR(rgb_channel(c, pixel[0], pixel[1], pixel[3]), expected.row(y)[4 * x + c], 3.0)
                    << "channel " << c << " at " << x << "," << y << " across " << across << " down " << down
                    << " tilt " << tilt << " level " << setting.level;
              }
            }
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
