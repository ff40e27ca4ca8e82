// The host program on clips of all kinds: what it reads, and what it brings them to.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "support/clips.h"

namespace dorfx {
namespace {

TEST_F(DorfxTest, TurnedClipsStandUpright) {
  // Whole planes can be turned as they are; of 4:2:2 the columns of chroma would become lines.
  for (const std::string format : {"yuv420p", "yuv422p"}) {
    must("ffmpeg -v error -y -f lavfi -i testsrc2=s=64x48:r=25 -frames:v 6 -c:v libx264 -qp 0 -pix_fmt " +
         format + " a.mp4");
    for (const std::string angle : {"90", "180", "270"}) {
      must("ffmpeg -v error -y -i a.mp4 -c copy -metadata:s:v rotate=" + angle + " turned.mp4");
      const Outcome outcome =
          dorfx("turned.mp4 turned.mp4 -y -d 2f --codec ffv1 --pix-fmt yuv444p -o out.mkv");
      ASSERT_EQ(outcome.status, 0) << outcome.errors;
      EXPECT_EQ(probe("out.mkv", "v", "width"), angle == "180" ? "64" : "48");
      // ffmpeg turns what it reads.
      const auto turned = frames_of("turned.mp4", 64 * 48 * 3, "yuv444p");
      const auto out = frames_of("out.mkv", 64 * 48 * 3, "yuv444p");
      ASSERT_EQ(out.size(), 10u);
      EXPECT_TRUE(std::equal(out[3].begin(), out[3].begin() + 64 * 48, turned[3].begin())) << format << angle;
      double chroma = 0;
      for (size_t i = 64 * 48; i < out[3].size(); ++i) chroma += std::abs(out[3][i] - turned[3][i]);
      EXPECT_LT(chroma / (2 * 64 * 48), 6) << format << angle;
    }
    const Outcome refused = dorfx("a.mp4 turned.mp4 -d 2f --fit error -o none.mkv");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.errors.find("turned.mp4: size is 48x64"), std::string::npos) << refused.errors;
  }
}

TEST_F(DorfxTest, DamageIsSaidOnce) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 12");
  must("ffmpeg -v error -f lavfi -i testsrc2=s=160x120:r=25 -frames:v 50 -c:v libx264 -g 10 b.mkv");
  Bytes bytes = read_bytes(directory_ / "b.mkv");
  const auto store = [&](const std::string& name) { write(name, std::string(bytes.begin(), bytes.end())); };
  for (size_t i = bytes.size() / 3; i < bytes.size() * 2 / 3; i += 211) bytes[i] ^= 0x55;
  store("broken.mkv");
  bytes.resize(bytes.size() / 3);
  store("cut.mkv");
  for (const std::string name : {"broken.mkv", "cut.mkv"}) {
    const Outcome outcome = dorfx("a.mkv " + name + " -d 4f -y -v warning -o out.mkv");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_TRUE(outcome.errors.starts_with("dorfx: warning: " + name + ": is damaged")) << outcome.errors;
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
  }
  EXPECT_EQ(dorfx("a.mkv b.mkv -d 4f -y -v warning -o out.mkv").errors, "");
}

TEST_F(DorfxTest, NamesOfFilesAreTakenAsTheyAre) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6");
  must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25 -frames:v 1 still.png");
  must("mv a.mkv 'x:%d.mkv'; mv still.png 'k:%d.png'");
  const std::string options = " -d 3f -y -v warning -o 'out:%d.mkv'";
  for (const std::string arguments : {"'k:%d.png' 'x:%d.mkv' --key 'k:%d.png'",
                                      "'x:%d.mkv' 'x:%d.mkv' -t 'title:key=k:%d.png:color=red'"}) {
    const Outcome outcome = dorfx(arguments + options);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
  }
  EXPECT_TRUE(fs::exists(directory_ / "out:%d.mkv"));
}

TEST_F(DorfxTest, EveryPictureIsThereOnceWhateverTheStamps) {
  // B pictures, a stream that starts late, pictures without stamps, rounded stamps.
  const struct {
    std::string name, codec, rate;
  } kClips[] = {
      {"a.mp4", "libx264 -bf 3", "25"}, {"a.ts", "libx264 -bf 3", "25"}, {"a.mpg", "mpeg2video -bf 2", "25"},
      {"a.avi", "mpeg4 -bf 2", "25"},   {"a.h264", "libx264", "25"},     {"a.mkv", "libx264", "30000/1001"},
  };
  constexpr size_t kLuma = 64 * 48;
  for (const auto& [name, codec, rate] : kClips) {
    must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=" + rate + " -frames:v 50 -c:v " + codec +
         " -pix_fmt yuv420p " + name);
    const Outcome outcome = dorfx(name + " " + name + " -y -d 10f --codec ffv1 -o out.mkv");
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const auto clip = frames_of(name, kLuma, "gray"), out = frames_of("out.mkv", kLuma, "gray");
    ASSERT_EQ(clip.size(), 50u) << name;
    ASSERT_EQ(out.size(), 90u) << name;
    for (size_t n = 0; n < 90; ++n) {
      if (n <= 40) {
        EXPECT_TRUE(out[n] == clip[n]) << name << n;
      } else if (n >= 50) {
        EXPECT_TRUE(out[n] == clip[n - 40]) << name << n;
      }
    }
  }
}

TEST_F(DorfxTest, WhateverDiffersIsNamedOrRefused) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace smpte170m -color_range tv");
  make_clip("same.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace bt470bg -color_range tv");
  make_clip("matrix.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace bt709 -color_range tv");
  make_clip("range.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace smpte170m -color_range pc");
  make_clip("fields.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -flags +ildct -vf setfield=bff");
  must("ffmpeg -v error -i a.mkv -c:v ffv1 -pix_fmt yuv422p10 -color_range tv deep.mkv");
  must("ffmpeg -v error -i a.mkv -c copy -color_trc smpte2084 hdr.mkv");
  const struct {
    const char *clips, *here, *there;
  } kCases[] = {
      {"a.mkv matrix.mkv", "matrix.mkv: colour matrix is bt709", "smpte170m"},
      {"a.mkv range.mkv", "range.mkv: colour range is full", "limited"},
      {"a.mkv deep.mkv", "deep.mkv: sample depth is 10 bits", "8 bits"},
      {"a.mkv hdr.mkv", "hdr.mkv: transfer curve is smpte2084", "unknown"},
      {"a.mkv fields.mkv", "a.mkv: field order is progressive", "bff"},
  };
  EXPECT_EQ(dorfx("a.mkv same.mkv -d 2f --fit error -y -o out.mkv").status, 0);
  for (const auto& [clips, here, there] : kCases) {
    EXPECT_EQ(dorfx(std::string(clips) + " -d 2f -y -o out.mkv").status, 0) << clips;
    const Outcome refused = dorfx(std::string(clips) + " -d 2f --fit error -y -o out.mkv");
    EXPECT_EQ(refused.status, 1) << clips;
    EXPECT_NE(refused.errors.find(here), std::string::npos) << refused.errors;
    EXPECT_NE(refused.errors.find(there), std::string::npos) << refused.errors;
  }
}

TEST_F(DorfxTest, VariableRateBecomesConstant) {
  // 2 s at 25 fps of which only every fifth picture is there in the second half.
  must(
      "ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=2 -vf \"select='lt(n,25)+not(mod(n,5))'\" -vsync "
      "vfr -c:v ffv1 "
      "-pix_fmt yuv422p a.mkv");
  const Outcome outcome =
      dorfx("a.mkv test:bars:size=64x48:duration=1 -d 0.4 --rate 25 --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_NE(outcome.errors.find("frame rate variable is brought to a constant 25 fps"), std::string::npos)
      << outcome.errors;
  const auto a = frames_of("a.mkv", 64 * 48 * 2), out = frames_of("out.mkv", 64 * 48 * 2);
  EXPECT_EQ(out[24], a[24]);
  EXPECT_EQ(out[29], a[25]);  // 25 to 29 hold the picture of 25
  EXPECT_EQ(out[30], a[26]);
}

TEST_F(DorfxTest, ColourMatricesOfTheClipsAreMatched) {
  const auto clip = [&](const std::string& name, const std::string& matrix, const std::string& samples) {
    must("ffmpeg -v error -f lavfi -i color=s=64x48:r=25,format=yuv422p,geq=" + samples +
         " -frames:v 4 -colorspace " + matrix + " -c:v ffv1 " + name);
  };
  clip("a.mkv", "bt709", "lum=63:cb=102:cr=240");
  clip("b.mkv", "smpte170m", "lum=81:cb=90:cr=240");  // the same red by the older matrix
  const Outcome outcome = dorfx("a.mkv b.mkv -d 1f --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  const auto out = frames_of("out.mkv", 64 * 48 * 2);
  EXPECT_LE(largest_difference(out.front(), out.back()), 2);
  EXPECT_EQ(probe("out.mkv", "v", "color_space"), "bt709");
}

}  // namespace
}  // namespace dorfx
