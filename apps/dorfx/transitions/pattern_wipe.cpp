// The key of a pixel with value m and edge width w, at progress p, is ((1 + w) p - m) / w, cut to 0..1: 0
// everywhere at the start, 1 everywhere at the end, and a ramp of width w in between. A border of width b
// adds a second edge, b ahead of the first: with 1 + w + b for 1 + w the outer key starts at p = 0 and the
// inner one, b behind, ends at p = 1.
#include "dorfx/transitions/pattern_wipe.h"

#include <algorithm>
#include <cmath>

#include "dorfx/frame.h"

namespace dorfx {
namespace {

// The narrowest edge: below it neighbouring values fall on one side or the other.
constexpr float kNarrowest = 1.0f / 65536;

float smaller_step(float before, float here, float after) {
  return std::min(std::fabs(here - before), std::fabs(after - here));
}

// How much the pattern changes over one pixel: an edge as wide as that is anti-aliased. Of the two
// neighbours the nearer in value counts, so that a sheer step in the pattern stays sheer.
float slope(const Pattern& pattern, int x, int y) {
  const int left = std::max(x - 1, 0), right = std::min(x + 1, pattern.width - 1);
  const int above = std::max(y - 1, 0), below = std::min(y + 1, pattern.height - 1);
  const float here = pattern.at(x, y);
  return std::hypot(smaller_step(pattern.at(left, y), here, pattern.at(right, y)),
                    smaller_step(pattern.at(x, above), here, pattern.at(x, below)));
}

class PatternWipe : public Transition {
 public:
  PatternWipe(const Stage& stage, const Pattern& pattern, const Softness& softness, const Border& border)
      : key_(stage.width, stage.height, BMP_FORMAT_KEY16),
        columns_(key_.bitmap()->width),
        border_width_(static_cast<float>(border.width / stage.height)),
        border_color_(stage.packed_for_border(border.colour)) {
    if (border.width > 0) border_key_.emplace(stage.width, stage.height, BMP_FORMAT_KEY16);
    const auto width =
        static_cast<float>(softness.in_pixels ? softness.value / stage.height : softness.value);
    gain_.reserve(static_cast<size_t>(columns_) * static_cast<size_t>(stage.height));
    delay_.reserve(gain_.capacity());
    for (int y = 0; y < stage.height; ++y) {
      for (int column = 0; column < columns_; ++column) {
        const int x = std::min(column, stage.width - 1);
        const float edge = std::max({width, slope(pattern, x, y), kNarrowest});
        gain_.push_back(4096 / edge);
        delay_.push_back(pattern.at(x, y));
      }
    }
  }

  void render(const Layers& layers, double progress, uint32_t fields) override {
    draw_key(key_, static_cast<float>(progress), border_width_, fields);
    if (!border_key_) {
      bmp_compose(layers.out, layers.from, layers.to, key_.bitmap(), fields);
      return;
    }
    draw_key(*border_key_, static_cast<float>(progress), 0, fields);
    bmp_compose_color(layers.out, layers.from, layers.to, key_.bitmap(), border_key_->bitmap(), border_color_,
                      fields);
  }

 private:
  // lag: how far this edge runs behind the foremost one.
  void draw_key(Frame& key, float progress, float lag, uint32_t fields) const {
    const int step = (fields & BMP_FIELD_ONLY) != 0 ? 2 : 1;
    // (1 + w + b) p - m - lag, times 4096 / w: the part with w is 4096 p for every pixel.
    const float shared = progress * 4096 + 0.5f;
    const float ahead = progress * (1 + border_width_) - lag;
    for (int y = static_cast<int>(fields & BMP_FIELD_ODD); y < key.height(); y += step) {
      auto* row = reinterpret_cast<uint16_t*>(key.row(y));
      const size_t first = static_cast<size_t>(y) * static_cast<size_t>(columns_);
      const float *gain = gain_.data() + first, *delay = delay_.data() + first;
      for (int x = 0; x < columns_; ++x) {
        const float value = (ahead - delay[x]) * gain[x] + shared;
        row[x] = static_cast<uint16_t>(std::min(std::max(value, 0.0f), 4096.0f));
      }
    }
  }

  Frame key_;
  std::optional<Frame> border_key_;
  int columns_;
  float border_width_;
  uint32_t border_color_;
  std::vector<float> gain_, delay_;
};

}  // namespace

std::unique_ptr<Transition> make_pattern_wipe(const Stage& stage, const Pattern& pattern,
                                              const Softness& softness, const Border& border) {
  return std::make_unique<PatternWipe>(stage, pattern, softness, border);
}

}  // namespace dorfx
