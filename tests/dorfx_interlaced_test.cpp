// The host program on interlaced clips: each field in its place and at its instant.
#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "support/clips.h"

namespace dorfx {
namespace {

// A horizontal ramp from 0 to 65535 as a 16-bit PGM.
std::string ramp_pgm(int width, int height) {
  std::ostringstream text;
  text << "P5\n" << width << " " << height << "\n65535\n";
  for (int i = 0; i < width * height; ++i) {
    const int value = i % width * 65535 / (width - 1);
    text.put(static_cast<char>(value >> 8)).put(static_cast<char>(value));
  }
  return text.str();
}

// A soft wipe along the ramp; the key of a pair's even pixel is its chroma's.
Bytes wiped(const Bytes& from, const Bytes& to, int width, double softness,
            const std::array<double, 2>& progress) {
  Bytes out(from.size());
  for (size_t i = 0; i < from.size(); ++i) {
    const int line = static_cast<int>(i) / (width * 2), byte = static_cast<int>(i) % (width * 2);
    const int x = byte % 4 == 2 ? byte / 2 : byte / 4 * 2;
    const double value = std::floor(x * 65535.0 / (width - 1)) / 65535,
                 p = progress[static_cast<size_t>(line % 2)];
    const double key = std::clamp(((1 + softness) * p - value) / softness, 0.0, 1.0);
    out[i] = static_cast<uint8_t>(from[i] * (1 - key) + to[i] * key);
  }
  return out;
}

TEST_F(DorfxTest, LumaGivesEachFieldItsInstantAndKeepsTheOrder) {
  constexpr int kWidth = 64, kHeight = 48, kFrame = kWidth * kHeight * 2;
  write("key.pgm", ramp_pgm(kWidth, kHeight));
  for (const std::string order : {"tff", "bff"}) {
    const std::string flags = "-frames:v 12 -y -flags +ildct -vf setfield=" + order;
    make_clip("a.mkv", "testsrc2=s=64x48:r=25", flags);
    make_clip("b.mkv", "mandelbrot=s=64x48:r=25", flags);
    const Outcome outcome =
        dorfx("a.mkv b.mkv -y -d 4f --key key.pgm --softness 0.25 --codec ffv1 -o out.mkv");
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(probe("out.mkv", "v", "field_order").substr(0, 1), order.substr(0, 1));
    const auto a = frames_of("a.mkv", kFrame), b = frames_of("b.mkv", kFrame),
               out = frames_of("out.mkv", kFrame);
    ASSERT_EQ(out.size(), 20u);
    EXPECT_EQ(out[7], a[7]);
    EXPECT_EQ(out[12], b[4]);
    for (size_t n = 8; n < 12; ++n) {
      const double first = static_cast<double>(n - 8) / 4, second = first + 0.125;
      const bool top_first = order == "tff";
      const std::array right{top_first ? first : second, top_first ? second : first};
      const std::array wrong{right[1], right[0]};
      EXPECT_LE(largest_difference(out[n], wiped(a[n], b[n - 8], kWidth, 0.25, right)), 1) << order << n;
      EXPECT_GT(largest_difference(out[n], wiped(a[n], b[n - 8], kWidth, 0.25, wrong)), 16) << order << n;
    }
  }
}

TEST_F(DorfxTest, InterlacedChromaStaysInItsField) {
  // 4:2:0 with one colour in each field; any mixing of fields would show. The second clip is larger, and
  // must be scaled field by field too.
  const auto clip = [&](const std::string& name, const std::string& size, const std::string& luma) {
    must("ffmpeg -v error -f lavfi -i color=s=" + size + ":r=25 -vf \"format=yuv420p,geq=lum='" + luma +
         "':cb='60+140*mod(Y,2)':cr=128,setfield=tff\" -frames:v 6 -flags +ildct -c:v ffv1 " + name);
  };
  clip("a.mkv", "64x48", "100");
  clip("b.mkv", "96x72", "50+100*mod(Y,2)");
  const Outcome outcome = dorfx("a.mkv b.mkv -d 2f --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  const auto out = frames_of("out.mkv", 64 * 48 * 2);
  for (size_t i = 0; i < out[0].size(); ++i) {
    const int parity = static_cast<int>(i) / 128 % 2;
    if (i % 4 == 1) {
      ASSERT_NEAR(out[0][i], parity == 0 ? 60 : 200, 1) << i;
      ASSERT_NEAR(out[9][i], parity == 0 ? 60 : 200, 1) << i;
    }
    if (i % 2 == 0) {
      ASSERT_NEAR(out[9][i], parity == 0 ? 50 : 150, 1) << i;
    }
  }
}

TEST_F(DorfxTest, InterlacedChromaIsWhereItsFieldHasIt) {
  // In interlaced 4:2:0 chroma line c lies at line 2 c + 0.5 of the frame: a ramp stays a ramp.
  must(
      "ffmpeg -v error -f lavfi -i color=s=64x48:r=25 -vf "
      "\"format=yuv420p,geq=lum=100:cb='42+8*Y':cr=128,setfield=tff\" "
      "-frames:v 6 -flags +ildct -c:v ffv1 a.mkv");
  const Outcome outcome = dorfx("a.mkv a.mkv -d 2f --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  const auto out = frames_of("out.mkv", 64 * 48 * 2);
  for (int y = 6; y < 42; ++y) EXPECT_NEAR(out[0][static_cast<size_t>(y) * 128 + 1], 40 + 4 * y, 1) << y;
}

TEST_F(DorfxTest, OppositeFieldOrderMovesByOneLine) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 4 -flags +ildct -vf setfield=tff");
  make_clip("b.mkv", "testsrc=s=64x48:r=25", "-frames:v 4 -flags +ildct -vf setfield=bff");
  const Outcome outcome = dorfx("a.mkv b.mkv -d 1f --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_NE(outcome.errors.find("field order bff is brought to tff"), std::string::npos) << outcome.errors;
  const auto b = frames_of("b.mkv", 64 * 48 * 2), out = frames_of("out.mkv", 64 * 48 * 2);
  EXPECT_TRUE(std::equal(out[6].begin(), out[6].end() - 128, b[3].begin() + 128));
}

TEST_F(DorfxTest, InterlacedPlayerFilesKeepTheirOrder) {
  for (const std::string order : {"tff", "bff"}) {
    const std::string source = "test:zone:size=96x64:duration=10f:order=" + order;
    for (const std::string output :
         {"out.mp4", "out.mov --codec mpeg2video", "out.mkv --codec mpeg4", "out.nut"}) {
      const Outcome outcome = dorfx(source + " " + source + " -y -d 4f -o " + output);
      ASSERT_EQ(outcome.status, 0) << outcome.errors;
      const std::string file = output.substr(0, output.find(' '));
      const Outcome first = shell(
          "ffprobe -v error -read_intervals '%+#1' -show_entries frame=interlaced_frame,top_field_first "
          "-of default=nw=1 " +
          file);
      EXPECT_NE(first.output.find("interlaced_frame=1"), std::string::npos) << output << first.output;
      EXPECT_NE(first.output.find(order == "tff" ? "top_field_first=1" : "top_field_first=0"),
                std::string::npos)
          << output << first.output;
      EXPECT_EQ(probe(file, "v", "nb_read_frames"), "16") << output;
      EXPECT_EQ(outcome.errors.find("warning"), std::string::npos) << outcome.errors;
    }
    // The player's codec has no fields of an odd number of lines; the container keeps their order, or not.
    const std::string odd = "test:zone:size=96x63:duration=10f:order=" + order;
    const Outcome whole = dorfx(odd + " " + odd + " -y -d 4f -o odd.mkv");
    ASSERT_EQ(whole.status, 0) << whole.errors;
    EXPECT_NE(whole.errors.find("as whole frames"), std::string::npos) << whole.errors;
    EXPECT_EQ(whole.errors.find("warning"), std::string::npos) << whole.errors;
    EXPECT_EQ(probe("odd.mkv", "v", "field_order"), order == "tff" ? "tt" : "bb");
    const Outcome told = dorfx(odd + " " + odd + " -y -d 4f -v warning -o odd.mp4");
    EXPECT_EQ(told.status, 0);
    EXPECT_NE(told.errors.find("carries no field order; tell " + order), std::string::npos) << told.errors;
    // Others have none at all.
    const Outcome old = dorfx(source + " " + source + " -y -d 4f -v warning -o out.mpg");
    EXPECT_EQ(old.status, 0) << old.errors;
    EXPECT_NE(old.errors.find("carries no field order; tell " + order), std::string::npos) << old.errors;
    const Outcome lost = dorfx(source + " " + source + " -y -d 4f --codec rawvideo -v warning -o raw.avi");
    EXPECT_NE(lost.errors.find("carries no field order; tell " + order), std::string::npos) << lost.errors;
  }
}

}  // namespace
}  // namespace dorfx
