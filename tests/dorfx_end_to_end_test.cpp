// The host program from clips to a result: made by the ffmpeg program, rendered, read back.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/clips.h"

namespace dorfx {
namespace {

// The constant mix, as its plain and its vector kernels round it.
uint8_t mixed(int from, int to, int level, bool plain) {
  if (plain) return static_cast<uint8_t>((from * (4096 - level) + to * level) >> 12);
  return static_cast<uint8_t>(((from * 64 * (4096 - level) >> 16) + (to * 64 * level >> 16) + 2) >> 2);
}

TEST_F(DorfxTest, FadeIsTheConstantMixAndItsEndsAreTheClips) {
  constexpr int kWidth = 64, kHeight = 48, kFrame = kWidth * kHeight * 2;
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 20");
  make_clip("b.mkv", "mandelbrot=s=64x48:r=25", "-frames:v 15");
  const auto a = frames_of("a.mkv", kFrame), b = frames_of("b.mkv", kFrame);
  for (const int level : {0, 4}) {
    const Outcome outcome =
        dorfx("a.mkv b.mkv -d 8f --codec ffv1 -y -o out.mkv --level " + std::to_string(level));
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const auto out = frames_of("out.mkv", kFrame);
    ASSERT_EQ(out.size(), 27u);
    for (size_t n = 0; n < out.size(); ++n) {
      if (n <= 12) {
        EXPECT_EQ(out[n], a[n]) << n;
      } else if (n >= 20) {
        EXPECT_EQ(out[n], b[n - 12]) << n;
      } else {
        Bytes expected(kFrame);
        const int weight = static_cast<int>(n - 12) * 512;
        for (size_t i = 0; i < kFrame; ++i) expected[i] = mixed(a[n][i], b[n - 12][i], weight, level == 0);
        EXPECT_EQ(out[n], expected) << n << " level " << level;
      }
    }
  }
}

TEST_F(DorfxTest, WorksInRgbAndAtOddSizes) {
  must(
      "ffmpeg -v error -f lavfi -i testsrc2=s=36x28:r=25,format=rgb24,crop=35:27 -frames:v 6 -c:v ffv1 "
      "-pix_fmt bgr0 a.mkv");
  must(
      "ffmpeg -v error -f lavfi -i testsrc=s=36x28:r=25,format=rgb24,crop=35:27 -frames:v 6 -c:v ffv1 "
      "-pix_fmt bgr0 b.mkv");
  const Outcome rgb = dorfx("a.mkv b.mkv -d 4f --format rgb32 --codec ffv1 -o rgb.mkv");
  ASSERT_EQ(rgb.status, 0) << rgb.errors;
  const auto a = frames_of("a.mkv", 35 * 27 * 3, "rgb24"), b = frames_of("b.mkv", 35 * 27 * 3, "rgb24");
  const auto out = frames_of("rgb.mkv", 35 * 27 * 3, "rgb24");
  ASSERT_EQ(out.size(), 8u);
  EXPECT_EQ(out[2], a[2]);
  EXPECT_EQ(out[6], b[4]);
  Bytes half(out[4].size());
  for (size_t i = 0; i < half.size(); ++i) half[i] = mixed(a[4][i], b[2][i], 2048, false);
  EXPECT_EQ(out[4], half);

  make_clip("c.mkv", "testsrc2=s=36x28:r=25,format=rgb24,crop=35:27", "-frames:v 6");
  make_clip("d.mkv", "testsrc=s=36x28:r=25,format=rgb24,crop=35:27", "-frames:v 6");
  const Outcome yuv = dorfx("c.mkv d.mkv -d 4f --codec ffv1 -o yuv.mkv");
  ASSERT_EQ(yuv.status, 0) << yuv.errors;
  constexpr size_t kPlanar = 35 * 27 + 2 * 18 * 27;
  const auto c = frames_of("c.mkv", kPlanar, "yuv422p"), d = frames_of("d.mkv", kPlanar, "yuv422p");
  const auto odd = frames_of("yuv.mkv", kPlanar, "yuv422p");
  ASSERT_EQ(odd.size(), 8u);
  EXPECT_EQ(odd[1], c[1]);
  EXPECT_EQ(odd[6], d[4]);
  Bytes half_odd(kPlanar);
  for (size_t i = 0; i < kPlanar; ++i) half_odd[i] = mixed(c[4][i], d[2][i], 2048, false);
  EXPECT_EQ(odd[4], half_odd);

  // A player's format takes odd sizes too.
  EXPECT_EQ(dorfx("c.mkv d.mkv -d 4f -o odd.mp4").status, 0);
  EXPECT_EQ(probe("odd.mp4", "v", "width"), "35");
}

TEST_F(DorfxTest, AKeyCutsOutThePicturesThatTurn) {
  constexpr int kWidth = 64, kHeight = 48, kFrame = kWidth * kHeight * 2;
  // A disc in the middle, of half the frame's height.
  std::string disc = "P5\n64 48\n255\n";
  for (int i = 0; i < kWidth * kHeight; ++i) {
    disc += std::hypot(i % kWidth - 31.5, i / kWidth - 23.5) < 12 ? '\xFF' : '\0';
  }
  write("disc.pgm", disc);
  make_clip("a.mkv", "color=red:s=64x48:r=25", "-frames:v 12");
  make_clip("b.mkv", "color=blue:s=64x48:r=25", "-frames:v 12");
  const auto a = frames_of("a.mkv", kFrame), b = frames_of("b.mkv", kFrame);
  for (const std::string key : {"", "--key disc.pgm", "--key disc.pgm --key-invert"}) {
    const Outcome outcome =
        dorfx("a.mkv b.mkv -y -t flip -d 10f --background white --codec ffv1 -o out.mkv " + key);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const auto out = frames_of("out.mkv", kFrame);
    ASSERT_EQ(out.size(), 14u);
    EXPECT_EQ(out[2], a[2]) << key;
    EXPECT_EQ(out[12], b[10]) << key;
    for (const size_t n : {4u, 10u}) {
      const Bytes& picture = n == 4 ? a[0] : b[0];
      // A pair in the disc, and one above it that the sheet covers.
      const auto shows_picture = [&](int x, int y) {
        const auto at = static_cast<ptrdiff_t>((y * kWidth + x) * 2);
        const bool is_picture = std::equal(&picture[0] + at, &picture[0] + at + 4, &out[n][0] + at);
        EXPECT_TRUE(is_picture ||
                    (out[n][static_cast<size_t>(at)] == 235 && out[n][static_cast<size_t>(at) + 1] == 128))
            << key << n << ": " << x << "," << y;
        return is_picture;
      };
      EXPECT_EQ(shows_picture(32, 24), key != "--key disc.pgm --key-invert") << key << n;
      EXPECT_EQ(shows_picture(32, 9), key != "--key disc.pgm") << key << n;
    }
  }
}

TEST_F(DorfxTest, LosslessCodecsGoIntoMkv) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 4");
  const auto a = frames_of("a.mkv", 64 * 48 * 2);
  for (const std::string codec : {"huffyuv", "utvideo", "rawvideo"}) {
    const Outcome outcome = dorfx("a.mkv a.mkv -y -d 2f -o out.mkv --codec " + codec);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(frames_of("out.mkv", 64 * 48 * 2).at(1), a[1]) << codec;
  }
  EXPECT_NE(dorfx("a.mkv a.mkv -d 2f -o out.y4m").errors.find("out.y4m: uncompressed"), std::string::npos);
}

TEST_F(DorfxTest, LossyEncodersKeepToAQuality) {
  make_clip("a.mkv", "mandelbrot=s=352x288:r=25", "-frames:v 10");
  constexpr size_t kFrame = 352 * 288;
  ASSERT_EQ(dorfx("a.mkv a.mkv -d 4f --codec ffv1 -o exact.mkv").status, 0);
  const Bytes exact = frames_of("exact.mkv", kFrame, "gray").at(8);
  for (const std::string output : {"out.mp4", "out.avi", "out.ogv", "out.mkv --codec mjpeg",
                                   "out.mkv --codec wmv2", "out.mkv --codec msmpeg4v3",
                                   "out.mkv --codec flv1", "out.mkv --codec h263p", "out.mkv --codec vp8"}) {
    const Outcome outcome = dorfx("a.mkv a.mkv -d 4f -y -o " + output);
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const Bytes out = frames_of(output.substr(0, output.find(' ')), kFrame, "gray").at(8);
    double squares = 0;
    for (size_t i = 0; i < kFrame; ++i) squares += (out[i] - exact[i]) * (out[i] - exact[i]);
    EXPECT_GT(10 * std::log10(255 * 255 * kFrame / squares), 40) << output;
  }
}

TEST_F(DorfxTest, PicturesPipesChainsAndSheets) {
  must("ffmpeg -v error -f lavfi -i color=red@0.5:s=64x48,format=rgba -frames:v 1 half.png");
  must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48 -frames:v 1 plain.png");
  const Outcome stills = dorfx(
      "half.png plain.png --format rgb32 --background '#0000ff' -d 5f --still 10f --codec ffv1 -o "
      "stills.mkv");
  ASSERT_EQ(stills.status, 0) << stills.errors;
  const auto out = frames_of("stills.mkv", 64 * 48 * 3, "rgb24");
  ASSERT_EQ(out.size(), 15u);
  EXPECT_NEAR(out[0][0], 127, 2);
  EXPECT_NEAR(out[0][2], 127, 2);

  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 12");
  const Outcome pipe =
      shell("ffmpeg -v error -i a.mkv -f yuv4mpegpipe - | " DORFX_PROGRAM
            " - a.mkv a.mkv --offset 6f -d 4f -o - --sheet sheet.png --frames 3 -v warning | "
            "ffmpeg -v error -i - -c:v ffv1 out.mkv");
  ASSERT_EQ(pipe.status, 0) << pipe.errors;
  EXPECT_EQ(pipe.errors, "");
  const auto a = frames_of("a.mkv", 64 * 48 * 2), chain = frames_of("out.mkv", 64 * 48 * 2);
  ASSERT_EQ(chain.size(), 6u + 8 + 12);
  EXPECT_EQ(chain[6], a[6]);
  EXPECT_EQ(chain[10], a[4]);
  EXPECT_EQ(chain[18], a[4]);
  EXPECT_EQ(chain.back(), a.back());
  EXPECT_EQ(probe("sheet.png", "v", "width"), std::to_string(2 * 68 + 4));
  EXPECT_EQ(probe("sheet.png", "v", "height"), std::to_string(3 * 52 + 4));
}

}  // namespace
}  // namespace dorfx
