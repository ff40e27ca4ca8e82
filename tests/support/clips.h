// Clips made by the ffmpeg program, the host program run on them, and what it made read back.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace dorfx {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

struct Outcome {
  int status = -1;
  std::string output, errors;
};

inline Bytes read_bytes(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string read_text(const fs::path& path) {
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

inline int largest_difference(const Bytes& a, const Bytes& b) {
  EXPECT_EQ(a.size(), b.size());
  int largest = 0;
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

}  // namespace dorfx
