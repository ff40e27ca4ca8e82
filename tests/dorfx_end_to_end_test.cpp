// The host program on real clips: made by the ffmpeg program, rendered, read back.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

struct Outcome {
  int status = -1;
  std::string output, errors;
};

Bytes read_bytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string read_text(const fs::path& path) {
  const Bytes bytes = read_bytes(path);
  return {bytes.begin(), bytes.end()};
}

// Runs in a directory of its own, which goes with the test.
class DorfxTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (fs::temp_directory_path() / "dorfx_test_XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    directory_ = name;
  }
  void TearDown() override { fs::remove_all(directory_); }

  Outcome shell(const std::string& command) const {
    const fs::path out = directory_.string() + ".out", err = directory_.string() + ".err";
    const int raw = std::system(("cd " + directory_.string() + " && ( " + command + " ) </dev/null >" +
                                 out.string() + " 2>" + err.string())
                                    .c_str());
    Outcome outcome{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read_text(out), read_text(err)};
    fs::remove(out);
    fs::remove(err);
    return outcome;
  }

  Outcome dorfx(const std::string& arguments) const { return shell(DORFX_PROGRAM " " + arguments); }

  void must(const std::string& command) const {
    const Outcome outcome = shell(command);
    ASSERT_EQ(outcome.status, 0) << command << "\n" << outcome.errors;
  }

  // ffmpeg's generated picture `source`, filtered, as a lossless 4:2:2 clip.
  void make_clip(const std::string& name, const std::string& source, const std::string& options) const {
    must("ffmpeg -v error -y -f lavfi -i '" + source + "' -c:v ffv1 -pix_fmt yuv422p " + options + " " +
         name);
  }

  // All frames of a clip as packed 4:2:2 (or another pixel format).
  std::vector<Bytes> frames_of(const std::string& name, size_t frame_bytes,
                               const std::string& format = "yuyv422") const {
    must("ffmpeg -v error -y -i " + name + " -vsync passthrough -f rawvideo -pix_fmt " + format +
         " frames.raw");
    const Bytes all = read_bytes(directory_ / "frames.raw");
    fs::remove(directory_ / "frames.raw");
    EXPECT_EQ(all.size() % frame_bytes, 0u) << name;
    std::vector<Bytes> frames;
    for (size_t at = 0; at + frame_bytes <= all.size(); at += frame_bytes) {
      frames.emplace_back(all.begin() + static_cast<ptrdiff_t>(at),
                          all.begin() + static_cast<ptrdiff_t>(at + frame_bytes));
    }
    return frames;
  }

  // One value of ffprobe for the first stream of a kind (v or a).
  std::string probe(const std::string& name, const std::string& kind, const std::string& entry) const {
    std::string text = shell("ffprobe -v error -count_frames -select_streams " + kind +
                             ":0 -show_entries stream=" + entry + " -of default=nw=1:nk=1 " + name)
                           .output;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
  }

  std::vector<std::string> listing() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory_))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ / name, std::ios::binary) << text;
  }

  fs::path directory_;
};

int largest_difference(const Bytes& a, const Bytes& b) {
  EXPECT_EQ(a.size(), b.size());
  int largest = 0;
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

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
  EXPECT_EQ(out[4][500], mixed(a[4][500], b[2][500], 2048, false));

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

  // A player's format takes odd sizes too.
  EXPECT_EQ(dorfx("c.mkv d.mkv -d 4f -o odd.mp4").status, 0);
  EXPECT_EQ(probe("odd.mp4", "v", "width"), "35");
}

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
    for (const auto& [n, picture] : {std::pair<size_t, const Bytes&>{4, a[0]}, {10, b[0]}}) {
      // A pair in the disc, and one above it that the sheet covers.
      const auto shows_picture = [&, frame = n](int x, int y) {
        const auto at = static_cast<ptrdiff_t>((y * kWidth + x) * 2);
        const bool is_picture = std::equal(&picture[0] + at, &picture[0] + at + 4, &out[frame][0] + at);
        EXPECT_TRUE(is_picture || (out[frame][static_cast<size_t>(at)] == 235 &&
                                   out[frame][static_cast<size_t>(at) + 1] == 128))
            << key << n << ": " << x << "," << y;
        return is_picture;
      };
      EXPECT_EQ(shows_picture(32, 24), key != "--key disc.pgm --key-invert") << key << n;
      EXPECT_EQ(shows_picture(32, 9), key != "--key disc.pgm") << key << n;
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

TEST_F(DorfxTest, SoundIsCrossFadedAndAsLongAsThePicture) {
  const auto clip = [&](const std::string& name, const std::string& rate, const std::string& level) {
    must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=" + rate + ":d=2 -f lavfi -i 'aevalsrc=" + level +
         ":s=48000:d=2' -c:v ffv1 -pix_fmt yuv422p -c:a pcm_s16le " + name);
  };
  clip("a.mkv", "25", "0.5");
  clip("b.mkv", "30", "-0.25");  // the second clip's rate is brought to the first's
  const Outcome outcome = dorfx("a.mkv b.mkv -d 0.4 --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_NE(outcome.errors.find("30 fps is brought to 25 fps"), std::string::npos) << outcome.errors;
  EXPECT_EQ(probe("out.mkv", "v", "nb_read_frames"), "90");
  must("ffmpeg -v error -i out.mkv -f s16le sound.raw");
  const Bytes sound = read_bytes(directory_ / "sound.raw");
  ASSERT_EQ(sound.size(), 2u * 48000 * 90 / 25);
  const auto at = [&](int sample) {
    return static_cast<int16_t>(sound[static_cast<size_t>(sample) * 2] |
                                sound[static_cast<size_t>(sample) * 2 + 1] << 8) /
           32768.0;
  };
  for (int sample = 0; sample < 48000 * 90 / 25; sample += 97) {
    const double t = std::clamp((sample / 48000.0 - 1.6) / 0.4, 0.0, 1.0);
    ASSERT_NEAR(at(sample), 0.5 * (1 - t) - 0.25 * t, 2.0 / 32768) << sample;
  }

  // Compressed, in a player's container: both tracks end together, to a packet's length.
  ASSERT_EQ(dorfx("a.mkv b.mkv -d 0.4 -o out.mp4").status, 0);
  EXPECT_EQ(probe("out.mp4", "v", "nb_read_frames"), "90");
  EXPECT_NEAR(std::stod(probe("out.mp4", "v", "duration")), 3.6, 1e-3);
  EXPECT_NEAR(std::stod(probe("out.mp4", "a", "duration")), 3.6, 1024.0 / 48000);
  ASSERT_EQ(dorfx("a.mkv b.mkv -d 0.4 --no-audio -o silent.mp4").status, 0);
  EXPECT_EQ(probe("silent.mp4", "a", "codec_name"), "");
}

TEST_F(DorfxTest, SoundHasTheMostChannelsOfAll) {
  const auto clip = [&](const std::string& name, const std::string& levels) {
    must("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -f lavfi -i 'aevalsrc=" + levels +
         ":s=48000:d=0.4' -c:v ffv1 -c:a pcm_s16le " + name);
  };
  clip("mono.mkv", "0.5");
  clip("stereo.mkv", "0.25|-0.25");
  const Outcome outcome = dorfx("mono.mkv stereo.mkv -d 2f --codec ffv1 -o out.mkv");
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(probe("out.mkv", "a", "channels"), "2");
  must("ffmpeg -v error -i out.mkv -f u8 sound.raw");
  const Bytes sound = read_bytes(directory_ / "sound.raw");
  // One channel is as loud from two.
  EXPECT_NEAR(sound[0], 192, 1);
  EXPECT_NEAR(sound[1], 192, 1);
  EXPECT_NEAR(sound[sound.size() - 2], 160, 1);
  EXPECT_NEAR(sound[sound.size() - 1], 96, 1);
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

TEST_F(DorfxTest, WhateverDiffersIsNamedOrRefused) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace smpte170m -color_range tv");
  make_clip("same.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace bt470bg -color_range tv");
  make_clip("matrix.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace bt709 -color_range tv");
  make_clip("range.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -colorspace smpte170m -color_range pc");
  make_clip("fields.mkv", "testsrc2=s=64x48:r=25", "-frames:v 6 -flags +ildct -vf setfield=bff");
  const struct {
    const char *clips, *here, *there;
  } kCases[] = {
      {"a.mkv matrix.mkv", "matrix.mkv: colour matrix is bt709", "smpte170m"},
      {"a.mkv range.mkv", "range.mkv: colour range is full", "limited"},
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
    const Outcome lost = dorfx(source + " " + source + " -y -d 4f --codec rawvideo -v warning -o raw.avi");
    EXPECT_NE(lost.errors.find("carries no field order; tell " + order), std::string::npos) << lost.errors;
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

TEST_F(DorfxTest, RefusalsAreOneLineAndLeaveNothingBehind) {
  make_clip("a.mkv", "testsrc2=s=64x48:r=25", "-frames:v 12");
  make_clip("small.mkv", "testsrc2=s=32x48:r=25", "-frames:v 12");
  write("text.txt", "no picture\n");
  write("text.mkv", std::string(4000, 'x'));
  write("there.mkv", "old");
  must("ffmpeg -v error -f lavfi -i sine=d=1 sound.wav");
  must("ln a.mkv twin.mkv; ffmpeg -v error -f lavfi -i testsrc2=s=64x48 -frames:v 1 key.png");
  const auto source = read_bytes(directory_ / "a.mkv");
  const struct {
    const char* arguments;
    int status;
    std::vector<const char*> words;
  } kCases[] = {
      {"a.mkv missing.mkv -o out.mkv", 1, {"missing.mkv", "No such file"}},
      {"a.mkv text.txt -o out.mkv", 1, {"text.txt", "text"}},
      {"text.mkv a.mkv -o out.mkv", 1, {"text.mkv", "no clip or picture"}},
      {"a.mkv sound.wav -o out.mkv", 1, {"sound.wav", "no picture"}},
      {"a.mkv a.mkv -d 4f -o no/such/dir/out.mkv", 1, {"no/such/dir/out.mkv", "cannot be written"}},
      {"a.mkv a.mkv -d 4f --offset 9f -o out.mkv", 1, {"a.mkv", "--offset", "at most 8 frames"}},
      {"a.mkv a.mkv -d 13f -o out.mkv", 1, {"a.mkv", "shorter --duration"}},
      {"a.mkv small.mkv -d 4f --fit error -o out.mkv", 1, {"small.mkv", "32x48", "64x48", "--fit"}},
      {"a.mkv a.mkv -d 4f -o there.mkv", 1, {"there.mkv", "exists", "-y"}},
      {"a.mkv a.mkv -d 4f -n -o there.mkv", 1, {"there.mkv", "-n"}},
      {"a.mkv a.mkv -d 4f --key text.txt -o out.mkv", 1, {"text.txt", "text"}},
      {"a.mkv a.mkv -d 4f --sheet no/dir/s.png -o out.mkv", 1, {"no/dir/s.png", "cannot be written"}},
      {"a.mkv a.mkv -d 4f -o - > /dev/full", 1, {"standard output", "No space"}},
      {"- a.mkv -d 4f -o out.mkv < a.mkv", 1, {"standard input", "--offset"}},
      {"small.mkv a.mkv -d 4f -y -o twin.mkv", 2, {"--output", "twin.mkv", "same file as a.mkv"}},
      {"a.mkv a.mkv -d 4f -y -o out.mkv --progress ./a.mkv", 2, {"--progress", "same file"}},
      {"a.mkv a.mkv -d 4f -y --key key.png --sheet key.png", 2, {"--sheet", "same file"}},
      {"a.mkv a.mkv -d 4f -y -o out.mkv --progress out.mkv", 2, {"--progress", "same file"}},
      {"a.mkv a.mkv -d 4f --codec dnxhd -o out.mov", 1, {"out.mov", "dnxhd refuses", "another --codec"}},
      {"a.mkv a.mkv -d 4f --codec hevc -o out.webm", 2, {"--codec", "does not go into .webm"}},
      {"a.mkv a.mkv -d 0f -o out.mkv", 2, {"--duration", "at least 1f"}},
      {"a.mkv a.mkv --easing fast -o out.mkv", 2, {"--easing", "fast", "linear"}},
      {"a.mkv a.mkv -t nosuch -o out.mkv", 2, {"--transition", "nosuch", "--list"}},
      {"a.mkv a.mkv -d 4f -t luma -o out.mkv", 2, {"luma", "--key"}},
      {"a.mkv a.mkv --nosuch -o out.mkv", 2, {"--nosuch"}},
      {"a.mkv a.mkv -d 4f --codec nosuch -o out.mkv", 2, {"--codec", "nosuch"}},
      {"a.mkv a.mkv -d 4f --codec ffv1 --pix-fmt yuv411q -o out.mkv", 2, {"--pix-fmt", "yuv411q"}},
  };
  const auto before = listing();
  for (const auto& refusal : kCases) {
    const Outcome outcome = dorfx(refusal.arguments);
    EXPECT_EQ(outcome.status, refusal.status) << refusal.arguments << "\n" << outcome.errors;
    EXPECT_EQ(listing(), before) << refusal.arguments;
    // Notes on the clips may come first; the error is the last line.
    const std::string errors = outcome.errors.substr(0, outcome.errors.find_last_not_of('\n') + 1);
    const std::string last = errors.substr(errors.find_last_of('\n') + 1);
    for (const char* word : refusal.words)
      EXPECT_NE(last.find(word), std::string::npos) << refusal.arguments << "\n" << last;
  }
  EXPECT_EQ(read_text(directory_ / "there.mkv"), "old");
  EXPECT_EQ(read_bytes(directory_ / "a.mkv"), source);
}

TEST_F(DorfxTest, AFullDiskLeavesNothingBehind) {
  const std::string work =
      DORFX_PROGRAM " test:bars:size=320x240 test:zone:size=320x240 --codec rawvideo -o out.nut";
  const Outcome outcome = shell("ulimit -f 2000; " + work);
  EXPECT_EQ(outcome.status, 1) << outcome.errors;
  EXPECT_NE(outcome.errors.find("out.nut"), std::string::npos) << outcome.errors;
  EXPECT_EQ(listing(), std::vector<std::string>{});
}

TEST_F(DorfxTest, InterruptionKeepsAPlayableFile) {
  // However slow the machine is: interrupted once ten frames are reported, a minute at most.
  const Outcome outcome = shell(
      DORFX_PROGRAM
      " test:zone:size=320x240:duration=9000 test:bars:size=320x240 -o out.mp4 --progress progress.txt & "
      "i=0; until grep -qsE '^frame=[0-9]{2}' progress.txt || [ $i = 600 ]; do sleep 0.1; i=$((i+1)); done; "
      "kill -INT $!; wait $!");
  EXPECT_EQ(outcome.status, 130) << outcome.errors;
  EXPECT_EQ(listing(), (std::vector<std::string>{"out.mp4", "progress.txt"}));
  EXPECT_GT(std::stoi(probe("out.mp4", "v", "nb_read_frames")), 9);
  const std::string progress = read_text(directory_ / "progress.txt");
  EXPECT_TRUE(progress.ends_with("progress=end\n"));
  const std::string count = "frame=" + probe("out.mp4", "v", "nb_read_frames") + "\n";
  EXPECT_NE(progress.find(count, progress.rfind("frame=")), std::string::npos) << progress;
}

}  // namespace
