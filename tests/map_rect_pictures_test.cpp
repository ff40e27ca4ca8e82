#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#ifdef DORBMP_WITH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include "support/map_rect.h"

namespace dorbmp::test {
namespace {

TEST(MapRect, PartialPixelsAreScaledBlendedAndCounted) {
  Random random(1);
  Frame white(12, 12, BMP_FORMAT_PAL8, random);
  fill_flat(white, 0xFFFFFFFF);
  Canvas mask(12, 12, BMP_FORMAT_PAL8, random);
  mask.map(white, {0.5f, 0, 10.5f, 8, 0, 0, 10, 8, 0});
  for (int x = 0; x < 12; ++x) {
    EXPECT_EQ(mask.frame.at<uint8_t>(x, 3), x == 0 || x == 10 ? 127 : x < 10 ? 255 : 0) << x;
  }

  // A clipped start moves its partner along.
  Canvas clipped(12, 12, BMP_FORMAT_PAL8, random);
  clipped.map(white, {0, 0, 10, 8, -1, 0, 9, 8, 0});
  EXPECT_EQ(clipped.frame.at<uint8_t>(0, 0), 0);
  EXPECT_EQ(clipped.frame.at<uint8_t>(1, 0), 255);

  // Two pictures meet in the middle of pixel 5.
  Frame dark(12, 4, BMP_FORMAT_RGB32, random), light(12, 4, BMP_FORMAT_RGB32, random);
  fill_flat(dark, 0x01102030);
  fill_flat(light, 0x02304050);
  Canvas rgb(12, 4, BMP_FORMAT_RGB32, random);
  rgb.map(dark, {0, 0, 5.5f, 4, 0, 0, 5.5f, 4, 0});
  EXPECT_EQ(rgb.cover.at<uint16_t>(5, 1), 2048);
  rgb.map(light, {5.5f, 0, 12, 4, 5.5f, 0, 12, 4, 0});
  EXPECT_EQ(rgb.frame.at<uint32_t>(4, 1), 0x00102030u);
  EXPECT_EQ(rgb.frame.at<uint32_t>(5, 1), 0x00203040u);
  EXPECT_EQ(rgb.frame.at<uint32_t>(6, 1), 0x00304050u);
  for (int x = 0; x < 12; ++x) EXPECT_EQ(rgb.cover.at<uint16_t>(x, 1), 4096) << x;
}

// Lines are added in blocks of 128: here one is left over, and it is the source's last.
TEST(MapRect, ManyLinesEndWithTheSource) {
  Random random(4);
  for (const uint32_t format : kRectFormats) {
    Frame src(20, 129, format, random, {.extra_pitch = -(-20 * bytes_per_pixel(format) & 15)});
    fill_flat(src, 0xC8C8C8C8);
    src.set(0, 128, uint32_t{0});
    Canvas canvas(20, 1, format, random);
    canvas.map(src, {0, 0, 20, 129 * 15 / 2048.0f, 0, 0, 20, 129, 0});
    const int whole = format == BMP_FORMAT_PAL8 ? 200 * 129 * 15 / 2048 : 200;
    const int first = format == BMP_FORMAT_PAL8 ? 200 * 128 * 15 / 2048 : 200 * 128 / 129;
    EXPECT_EQ(canvas.frame.at<uint8_t>(19 * bytes_per_pixel(format), 0), whole) << format;
    EXPECT_EQ(canvas.frame.at<uint8_t>(0, 0), first) << format;
  }
}

TEST(MapRect, RepaintedVideoIsAMeanOutsideTheInteriorRun) {
  Random random(2);
  Frame first(64, 8, BMP_FORMAT_YUY2, random), second(64, 8, BMP_FORMAT_YUY2, random);
  fill_flat(first, 0x80408020);  // Y 0x20, U 0x80, Y 0x40, V 0x80
  fill_flat(second, 0x80408060);
  Canvas one(64, 8, BMP_FORMAT_YUY2, random);
  one.map(first, {4, 2, 5, 3, 4, 2, 5, 3, 0});
  one.map(second, {4, 2, 5, 3, 4, 2, 5, 3, 0});
  EXPECT_EQ(one.cover.at<uint16_t>(4, 2), 8192);
  EXPECT_EQ(one.frame.at<uint8_t>(8, 2), 0x40);

  // Magnified fourfold: lines inside one source line have a run from the second pair on.
  Canvas wide(64, 8, BMP_FORMAT_YUY2, random);
  for (int i = 0; i < 2; ++i) wide.map(second, {0, 0, 64, 8, 0, 0, 16, 2, 0});
  EXPECT_EQ(wide.cover.at<uint16_t>(1, 1), 8192);
  EXPECT_EQ(wide.cover.at<uint16_t>(2, 1), 4096);
  EXPECT_EQ(wide.cover.at<uint16_t>(63, 1), 4096);
  // Neutral chroma painted over itself stays neutral, however often.
  for (int i = 0; i < 20; ++i) one.map(second, {0, 0, 64, 8, 0, 0, 64, 8, 0});
  for (int x = 0; x < 64; ++x) EXPECT_EQ(one.frame.at<uint8_t>(2 * x + 1, 2), 0x80) << x;
}

TEST(MapRect, DrawsOnlyWhatItIsAskedFor) {
  Random random(3);
  Frame src(20, 20, BMP_FORMAT_RGB32, random), plane(20, 20, BMP_FORMAT_KEY16, random);
  const int32_t extent[2] = {20, 20};
  for (uint32_t format = 0; format < 8; ++format) {
    Frame dst(20, 20, format, random);
    const auto before = dst.bytes();
    for (Bitmap* cover : {static_cast<Bitmap*>(nullptr), &plane}) {
      bmp_map_rect(&dst, cover, 0, 0, 20, 20, &src, extent, 0, 0, 20, 20, 0);
      EXPECT_EQ(difference(before, dst), "") << "extent, format " << format;
      const bool draws = cover != nullptr ? format <= 1 : format == BMP_FORMAT_PAL8;
      if (!draws) bmp_map_rect(&dst, cover, 0, 0, 20, 20, &src, nullptr, 0, 0, 20, 20, 0);
      EXPECT_EQ(difference(before, dst), "") << "format " << format;
    }
  }
}

// ---- Quality ----

// A picture without hard edges: at most some ten levels from one pixel to the next.
void fill_smooth(Frame& frame, Random& random) {
  const float a = random.real(0.02f, 0.12f), b = random.real(0.02f, 0.12f), c = random.real(0, 6);
  for (int32_t y = 0; y < frame->height; ++y) {
    for (int32_t x = 0; x < frame->pitch; ++x) {
      const auto column = static_cast<float>(x / bytes_per_pixel(frame->format));
      // Every channel its own: of packed 4:2:2, bytes 0 and 2 are one.
      const auto channel = static_cast<float>(frame->format == BMP_FORMAT_PAL8 || x % 4 == 2 ? 0 : x % 4);
      const float wave = std::sin(a * column + c + channel) + std::cos(b * static_cast<float>(y) + c);
      frame.set(x, y, static_cast<uint8_t>(128 + 60 * wave + static_cast<float>(random.between(-2, 2))));
    }
  }
}

// The mean over [x0, x1) x [y0, y1) of every step-th byte from first on, in pixels of the source.
double mean(Frame& src, int first, int step, double x0, double x1, double y0, double y1) {
  double sum = 0;
  for (int y = static_cast<int>(y0); y < y1; ++y) {
    const double down = std::min<double>(y + 1, y1) - std::max<double>(y, y0);
    for (int x = static_cast<int>(x0); x < x1; ++x) {
      const double across = std::min<double>(x + 1, x1) - std::max<double>(x, x0);
      sum += src.row(y)[first + step * x] * across * down;
    }
  }
  return sum / ((x1 - x0) * (y1 - y0));
}

struct Scaling {
  float dst0, dst1, src0, src1;
};

// A scale whose fixed-point form is exact: integer units to a source pixel.
Scaling exact_scaling(Random& random, int units, int32_t dst_size, int32_t src_size) {
  const int span = random.between(4, src_size - 4);
  const int largest = (dst_size - 1) * units / span;
  const int scale = random.chance(3) ? units : random.between(units / 8, std::min(largest, 4 * units)) & -64;
  const float length = static_cast<float>(std::min(scale, largest) & -64) * static_cast<float>(span) /
                       static_cast<float>(units);
  const float src0 = static_cast<float>(random.between(0, 4 * 64)) / 64;
  const float dst0 = static_cast<float>(random.between(0, 64)) / 64;
  return {dst0, dst0 + length, src0, src0 + static_cast<float>(span)};
}

Scaling any_scaling(Random& random, int32_t dst_size, int32_t src_size) {
  const auto dst = static_cast<float>(dst_size), src = static_cast<float>(src_size);
  return {random.real(0, 8), random.real(dst - 12, dst), random.real(0, 12), random.real(src - 14, src)};
}

void check_means(uint64_t seed, uint32_t format, bool exact) {
  Random random(seed);
  const int bytes = bytes_per_pixel(format);
  Canvas canvas(48, 32, format, random);
  Frame src(40, 36, format, random);
  // The stated rounding of the scale drifts by up to a unit a source pixel: without hard edges it stays
  // small.
  if (!exact) fill_smooth(src, random);
  const Scaling sx = exact ? exact_scaling(random, 4096, 48, 40) : any_scaling(random, 48, 40);
  const Scaling sy = exact ? exact_scaling(random, 2048, 32, 36) : any_scaling(random, 32, 36);
  const RectCall c = {sx.dst0, sy.dst0, sx.dst1, sy.dst1, sx.src0, sy.src0, sx.src1, sy.src1, 0};
  canvas.map(src, c);
  const auto from = [](const Scaling& s, double at) {
    return s.src0 + (at - s.dst0) * (double{s.src1} - s.src0) / (double{s.dst1} - s.dst0);
  };
  for (int y = static_cast<int>(std::ceil(c.dst_y0)); y + 1 <= c.dst_y1; ++y) {
    for (int x = static_cast<int>(std::ceil(c.dst_x0)); x + 1 <= c.dst_x1; ++x) {
      for (int b = 0; b < std::min(bytes, 3); ++b) {
        const int even = x & ~1;
        const bool chroma = format == BMP_FORMAT_YUY2 && b == 1;
        // Chroma belongs to a pair: it needs both pixels, and two truncations leave no room for a drift.
        if (chroma && (!exact || even < c.dst_x0 || even + 2 > c.dst_x1)) continue;
        const double expected =
            chroma ? mean(src, x % 2 * 2 + 1, 4, from(sx, even) / 2, from(sx, even + 2) / 2, from(sy, y),
                          from(sy, y + 1))
                   : mean(src, b, bytes, from(sx, x), from(sx, x + 1), from(sy, y), from(sy, y + 1));
        ASSERT_NEAR(canvas.frame.row(y)[x * bytes + b], expected, 1.5)
            << describe(seed, c, src) << ", pixel " << x << "," << y << ", byte " << b;
      }
    }
  }
}

TEST(MapRect, WholePixelsAreTheMeanOfTheirFootprint) {
  for (uint64_t seed = 0; seed < 600; ++seed) {
    for (const bool exact : {false, true}) check_means(seed, kRectFormats[seed % 3], exact);
  }
}

// Whole ratios, where OpenCV's area mode is exact as well. It rounds to nearest.
TEST(MapRect, AgreesWithOpenCvWithinALevel) {
#ifdef DORBMP_WITH_OPENCV
  for (uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    const uint32_t format = seed % 2 == 0 ? BMP_FORMAT_PAL8 : BMP_FORMAT_RGB32;
    const int bytes = bytes_per_pixel(format), channels = std::min(bytes, 3);
    const int across = 1 << random.between(0, 4), down = 1 << random.between(0, 4);
    Canvas canvas(random.between(1, 70), random.between(1, 20), format, random);
    Frame src(canvas.frame->width * across, canvas.frame->height * down, format, random);
    const auto width = static_cast<float>(canvas.frame->width),
               height = static_cast<float>(canvas.frame->height);
    canvas.map(
        src, {0, 0, width, height, 0, 0, static_cast<float>(src->width), static_cast<float>(src->height), 0});
    const cv::Mat from(src->height, src->width, CV_8UC(bytes), src.row(0), static_cast<size_t>(src->pitch));
    cv::Mat to;
    cv::resize(from, to, cv::Size(canvas.frame->width, canvas.frame->height), 0, 0, cv::INTER_AREA);
    for (int y = 0; y < to.rows; ++y) {
      for (int x = 0; x < to.cols * bytes; ++x) {
        if (x % bytes >= channels) continue;
        ASSERT_NEAR(canvas.frame.row(y)[x], to.ptr(y)[x], 1)
            << "seed " << seed << ", " << across << " x " << down;
      }
    }
  }
#else
  GTEST_SKIP() << "built without OpenCV";
#endif
}

// Cuts at random fractions: first 0, last size.
std::vector<float> cuts(Random& random, int parts, int32_t size) {
  std::vector<float> at;
  for (int i = 0; i <= parts; ++i)
    at.push_back(static_cast<float>(size) * static_cast<float>(i) / static_cast<float>(parts));
  for (int i = 1; i < parts; ++i) at[static_cast<size_t>(i)] += random.real(-1.5f, 1.5f);
  return at;
}

TEST(MapRect, NeighboursJoinWithoutASeam) {
  for (uint64_t seed = 0; seed < 200; ++seed) {
    Random random(seed);
    const uint32_t format = seed % 2 == 0 ? BMP_FORMAT_RGB32 : BMP_FORMAT_YUY2;
    const int bytes = bytes_per_pixel(format);
    Frame flat(30, 30, format, random), smooth(48, 32, format, random);
    fill_flat(flat, 0x80204A20);
    fill_smooth(smooth, random);
    Canvas mosaic(48, 32, format, random), whole(48, 32, format, random), parts(48, 32, format, random);
    const auto x = cuts(random, 3, 48), y = cuts(random, 3, 32);
    whole.map(smooth, {0, 0, 48, 32, 0, 0, 48, 32, 0});
    for (size_t j = 0; j < 3; ++j) {
      for (size_t i = 0; i < 3; ++i) {
        mosaic.map(flat, {x[i], y[j], x[i + 1], y[j + 1], 2, 3, 27, 29, 0});
        parts.map(smooth, {x[i], y[j], x[i + 1], y[j + 1], x[i], y[j], x[i + 1], y[j + 1], 0});
      }
    }
    for (int row = 0; row < 32; ++row) {
      for (int byte = 0; byte < 48 * bytes; ++byte) {
        if (byte % 4 == 3 && format == BMP_FORMAT_RGB32) continue;
        ASSERT_EQ(mosaic.frame.row(row)[byte], flat.row(0)[byte % 4])
            << "seed " << seed << ", " << byte / bytes << "," << row;
        ASSERT_NEAR(parts.frame.row(row)[byte], whole.frame.row(row)[byte], 3)
            << "seed " << seed << ", " << byte / bytes << "," << row;
      }
      // Each part truncates its share to 1/4096.
      for (int column = 0; column < 48; ++column) {
        ASSERT_NEAR(mosaic.cover.at<uint16_t>(column, row), 4096, 3) << "seed " << seed;
      }
    }
  }
}

TEST(MapRect, ASlowZoomDoesNotPump) {
  Random random(5);
  for (const uint32_t format : kRectFormats) {
    Frame flat(96, 64, format, random);
    const uint32_t quad = format == BMP_FORMAT_PAL8 ? 0xC8C8C8C8 : 0x503C963C;
    fill_flat(flat, quad);
    for (int frame = 0; frame < 300; ++frame) {
      const auto t = static_cast<float>(frame);
      const float margin = 0.05f * t;
      Canvas canvas(96, 64, format, random);
      canvas.map(flat, {0, 0, 96, 64, margin, margin * 0.7f, 96 - margin, 64 - margin * 0.7f, 0});
      for (int y = 0; y < 64; ++y) {
        for (int i = 0; i < 96 * bytes_per_pixel(format); ++i) {
          if (format == BMP_FORMAT_RGB32 && i % 4 == 3) continue;
          ASSERT_EQ(canvas.frame.row(y)[i], quad >> 8 * (i % 4) & 0xFF)
              << "frame " << frame << ", byte " << i;
        }
      }
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
