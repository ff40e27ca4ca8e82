// Small frames for transitions, and what can be measured on them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "dorfx/frame.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {

inline constexpr uint32_t kTop = BMP_FIELD_ONLY, kBottom = BMP_FIELD_ONLY | BMP_FIELD_ODD;

inline Stage make_stage(int width, int height, PixelFormat format = BMP_FORMAT_YUY2) {
  Stage stage;
  stage.width = width;
  stage.height = height;
  stage.format = format;
  stage.level = 4;
  return stage;
}

inline std::unique_ptr<Transition> make(const Stage& stage, const std::string& name,
                                        const std::map<std::string, std::string>& values = {}) {
  const TransitionEntry& entry = find_transition(name);
  return entry.make(stage, Parameters(name, entry.parameters, values));
}

// A file that luma can take: a ramp across.
class KeyFile {
 public:
  KeyFile() : path_(testing::TempDir() + "dorfx_key.pgm") {
    std::ofstream file(path_, std::ios::binary);
    file << "P5\n256 1\n255\n";
    for (int i = 0; i < 256; ++i) file.put(static_cast<char>(i));
  }
  ~KeyFile() { std::filesystem::remove(path_); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

inline std::map<std::string, std::string> needed(const std::string& name, const KeyFile& key) {
  return name == "luma" || name == "title" ? std::map<std::string, std::string>{{"key", key.path()}}
                                           : std::map<std::string, std::string>{};
}

// Bytes that tell pixel, line and component apart, in the spare columns too.
inline void texture(Frame& frame, int seed) {
  for (int y = 0; y < frame.height(); ++y) {
    for (size_t i = 0; i < frame.row_bytes(); ++i) {
      frame.row(y)[i] =
          static_cast<uint8_t>(seed + 7 * static_cast<int>(i) + 31 * y + static_cast<int>(i * i) % 13);
    }
  }
}

inline void flat(Frame& frame, uint8_t value) {
  for (int y = 0; y < frame.height(); ++y) std::memset(frame.row(y), value, frame.row_bytes());
}

// Whether a byte of a line is seen: not byte 3 of RGB32, nor the luma of an odd width's last partner.
inline bool is_picture(const Frame& frame, size_t byte) {
  if (frame.format() == BMP_FORMAT_RGB32)
    return byte % 4 != 3 && byte / 4 < static_cast<size_t>(frame.width());
  const size_t pixel = byte % 2 == 0 ? byte / 2 : byte / 4 * 2;
  return pixel < static_cast<size_t>(frame.width());
}

// The largest difference of picture bytes on the lines of `fields`.
inline int difference(const Frame& a, const Frame& b, uint32_t fields) {
  int largest = 0;
  for (int y = static_cast<int>(fields & 1); y < a.height(); y += (fields & 2) != 0 ? 2 : 1) {
    for (size_t i = 0; i < a.row_bytes(); ++i) {
      if (is_picture(a, i)) largest = std::max(largest, std::abs(a.row(y)[i] - b.row(y)[i]));
    }
  }
  return largest;
}

// Mean luma as a share of the way from 0 to 255.
inline double covered(const Stage& stage, const std::string& name,
                      const std::map<std::string, std::string>& values, double progress) {
  Frame from(stage.width, stage.height, stage.format), to(stage.width, stage.height, stage.format),
      out(stage.width, stage.height, stage.format);
  flat(to, 255);
  make(stage, name, values)->render({out.bitmap(), from.bitmap(), to.bitmap()}, progress, BMP_FRAME);
  double sum = 0;
  for (int y = 0; y < stage.height; ++y) {
    for (int x = 0; x < stage.width; ++x) sum += out.row(y)[x * 2];
  }
  return sum / 255 / stage.width / stage.height;
}

}  // namespace dorfx
