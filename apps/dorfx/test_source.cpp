#include "dorfx/test_source.h"

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include "dorfx/errors.h"

namespace dorfx {
namespace {

constexpr char kPrefix[] = "test:";

struct Yuv {
  uint8_t y, u, v;
};

// The sample at a pixel and an instant, in frames.
using Sample = Yuv(Size size, int x, int y, double time);

// Eight bars at three quarters, and a white block that crosses the picture in four seconds.
Yuv bars(Size size, int x, int y, double time) {
  static constexpr Yuv kBars[] = {{180, 128, 128}, {162, 44, 142}, {131, 156, 44}, {112, 72, 58},
                                  {84, 184, 198},  {65, 100, 212}, {35, 212, 114}, {16, 128, 128}};
  const double position = std::fmod(time / 100, 1) * size.width;
  const double from_block = x - position;
  const bool in_block = from_block >= 0 && from_block < size.width / 16.0 && y >= size.height / 2;
  return in_block ? Yuv{235, 128, 128} : kBars[x * 8 / size.width];
}

// Circles that grow finer outwards, up to one line and one pixel, and run outwards.
Yuv zone(Size size, int x, int y, double time) {
  const double dx = x + 0.5 - size.width / 2.0, dy = y + 0.5 - size.height / 2.0;
  const double phase = std::numbers::pi * (dx * dx + dy * dy) / size.height - time * 0.5;
  return {static_cast<uint8_t>(std::lround(126 + 109 * std::cos(phase))), 128, 128};
}

// Seven segments: top, upper left, upper right, middle, lower left, lower right, bottom.
constexpr uint8_t kDigits[] = {0b1110111, 0b0010010, 0b1011101, 0b1011011, 0b0111010,
                               0b1101011, 0b1101111, 0b1010010, 0b1111111, 0b1111011};

// Whether a digit covers (x, y) of its cell, 0 to 1 across and down.
bool digit_covers(int digit, double x, double y) {
  constexpr double kStroke = 0.14;
  const auto within = [](double value, double low, double high) { return value >= low && value < high; };
  const bool across = within(x, 0.1, 0.9);
  const bool left = within(x, 0.1, 0.1 + kStroke), right = within(x, 0.9 - kStroke, 0.9);
  const bool upper = within(y, 0.05, 0.5), lower = within(y, 0.5, 0.95);
  const bool segments[] = {across && within(y, 0.05, 0.05 + kStroke),
                           left && upper,
                           right && upper,
                           across && within(y, 0.5 - kStroke / 2, 0.5 + kStroke / 2),
                           left && lower,
                           right && lower,
                           across && within(y, 0.95 - kStroke, 0.95)};
  for (int i = 0; i < 7; ++i) {
    if (segments[i] && (kDigits[digit] >> (6 - i) & 1) != 0) return true;
  }
  return false;
}

// The frame's number in four digits over a ground whose colour names the hundred, and a sweeping line.
Yuv counter(Size size, int x, int y, double time) {
  const auto number = static_cast<int>(time);
  const double cell_height = size.height * 0.5, cell_width = cell_height * 0.6;
  const double column = (x - size.width / 2.0) / cell_width + 2, row = (y - size.height * 0.25) / cell_height;
  if (column >= 0 && column < 4 && row >= 0 && row < 1) {
    constexpr int kPowers[] = {1000, 100, 10, 1};
    const int place = static_cast<int>(column);
    if (digit_covers(number / kPowers[place] % 10, column - place, row)) return {235, 128, 128};
  }
  if (x == static_cast<int>(std::fmod(time / 25, 1) * size.width)) return {210, 16, 146};
  return {static_cast<uint8_t>(60 + 20 * (number / 100 % 4)), 150, 110};
}

struct Kind {
  const char* name;
  Sample* sample;
};
constexpr Kind kKinds[] = {{"bars", bars}, {"zone", zone}, {"counter", counter}};

class TestSource : public FrameSource {
 public:
  TestSource(VideoInfo info, int64_t frames, Sample* sample)
      : info_(std::move(info)), frames_(frames), sample_(sample) {}

  const VideoInfo& info() const override { return info_; }

  bool next(AVFrame& picture, double& seconds) override {
    if (drawn_ >= frames_) return false;
    const AvOwner<AVFrame> drawing = make_picture(info_.width, info_.height, AV_PIX_FMT_YUV422P);
    for (const FieldPass& pass : field_passes(*info_.order)) {
      const int first = (pass.flags & BMP_FIELD_ODD) != 0 ? 1 : 0;
      const int step = (pass.flags & BMP_FIELD_ONLY) != 0 ? 2 : 1;
      for (int y = first; y < info_.height; y += step) {
        draw_line(*drawing, y, static_cast<double>(drawn_) + pass.delay);
      }
    }
    drawing->sample_aspect_ratio = info_.sample_aspect;
    drawing->colorspace = info_.colours.matrix;
    drawing->color_range = info_.colours.range;
    seconds = static_cast<double>(drawn_) / info_.rate.per_second();
    ++drawn_;
    av_frame_unref(&picture);
    av_frame_move_ref(&picture, drawing.get());
    return true;
  }

 private:
  void draw_line(AVFrame& to, int y, double time) const {
    const Size size{info_.width, info_.height};
    const auto at = [&](int plane) {
      return to.data[plane] + static_cast<ptrdiff_t>(y) * to.linesize[plane];
    };
    uint8_t *luma = at(0), *u = at(1), *v = at(2);
    for (int x = 0; x < size.width; ++x) {
      const Yuv yuv = sample_(size, x, y, time);
      luma[x] = yuv.y;
      if (x % 2 == 0) u[x / 2] = yuv.u, v[x / 2] = yuv.v;
    }
  }

  VideoInfo info_;
  int64_t frames_;
  int64_t drawn_ = 0;
  Sample* sample_;
};

}  // namespace

bool is_test_source(const std::string& name) {
  return name.starts_with(kPrefix);
}

std::unique_ptr<FrameSource> make_test_source(const std::string& name) {
  const NamedValues asked = parse_named_values(name, name.substr(std::strlen(kPrefix)));
  Sample* sample = nullptr;
  for (const Kind& kind : kKinds) {
    if (asked.name == kind.name) sample = kind.sample;
  }
  if (sample == nullptr)
    throw UsageError(name, "is no test source", "use test:bars, test:zone or test:counter");

  Size size{720, 576};
  TimeValue duration{4, {}};
  VideoInfo info;
  info.order = FieldOrder::kProgressive;
  for (const auto& [key, value] : asked.values) {
    const std::string subject = name + ": " + key;
    if (key == "size") {
      size = parse_size(subject, value);
    } else if (key == "rate") {
      info.rate = parse_rate(subject, value);
    } else if (key == "duration") {
      duration = parse_time(subject, value);
    } else if (key == "order" && (value == "progressive" || value == "tff" || value == "bff")) {
      info.order = value == "tff"   ? FieldOrder::kTopFirst
                   : value == "bff" ? FieldOrder::kBottomFirst
                                    : FieldOrder::kProgressive;
    } else {
      throw UsageError(subject, "'" + value + "' means nothing here",
                       "use size=WxH, rate=N, duration=TIME, order=progressive|tff|bff");
    }
  }
  info.name = name;
  info.width = size.width;
  info.height = size.height;
  info.colours.matrix = size.height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
  const int64_t frames = duration.in_frames(info.rate);
  if (frames < 1) throw UsageError(name + ": duration", "is shorter than one frame", "give at least 1f");
  info.seconds = static_cast<double>(frames) / info.rate.per_second();
  return std::make_unique<TestSource>(std::move(info), frames, sample);
}

}  // namespace dorfx
