// Wipes whose order a picture gives: read from a file, or noise.
#include <algorithm>

#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/key_parameters.h"
#include "dorfx/transitions/pattern_wipe.h"

namespace dorfx {
namespace {

constexpr char kSoftness[] = "width of the edge, 0 to 1 of the whole run, or pixels (px)";

constexpr Parameter kLuma[] = {
    {"key", "", "the pattern: a greyscale picture; must be given"},
    {"key-invert", "0", "1: bright parts change first"},
    kKeyRangeParameter,
    {"softness", "0", kSoftness},
    {"border", "", "WIDTH:COLOUR, a coloured line along the edge"},
};
constexpr Parameter kDissolve[] = {
    {"grain", "2", "size of a grain in pixels, 1 to 256"},
    {"softness", "0", kSoftness},
};

std::unique_ptr<Transition> make_luma(const Stage& stage, const Parameters& parameters) {
  const Pattern pattern = read_key(stage, parameters, "pattern");
  return make_pattern_wipe(stage, pattern, parameters.softness(), parameters.border());
}

// The same noise every time.
float noise(uint32_t column, uint32_t row) {
  uint32_t bits = (column + 1) * 0x9E3779B1 ^ (row + 1) * 0x85EBCA77;
  for (int i = 0; i < 2; ++i) bits = (bits ^ bits >> 15) * 0x2C1B3C6D;
  return static_cast<float>((bits ^ bits >> 16) >> 8) * 0x1p-24f;
}

std::unique_ptr<Transition> make_dissolve(const Stage& stage, const Parameters& parameters) {
  const int grain = parameters.whole("grain", 1, 256);
  Pattern pattern{stage.width, stage.height, {}};
  pattern.values.reserve(static_cast<size_t>(stage.width) * static_cast<size_t>(stage.height));
  for (int y = 0; y < stage.height; ++y) {
    for (int x = 0; x < stage.width; ++x) {
      pattern.values.push_back(noise(static_cast<uint32_t>(x / grain), static_cast<uint32_t>(y / grain)));
    }
  }
  return make_pattern_wipe(stage, pattern, parameters.softness(), {});
}

constexpr TransitionEntry kEntries[] = {
    {"luma", "along the grey values of a picture, dark first", kLuma, make_luma},
    {"dissolve", "grain by grain, at random", kDissolve, make_dissolve},
};

}  // namespace

std::span<const TransitionEntry> pattern_entries() {
  return kEntries;
}

}  // namespace dorfx
