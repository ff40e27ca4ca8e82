// Mixes of whole pictures: with one another, or with a colour between them.
#include <cmath>

#include "dorfx/frame.h"
#include "dorfx/transitions/entries.h"

namespace dorfx {
namespace {

long key_level(double share) {
  return std::lround(share * 4096);
}

class Fade : public Transition {
 public:
  void render(const Layers& layers, double progress, uint32_t fields) override {
    bmp_compose(layers.out, layers.from, layers.to, BMP_LEVEL(key_level(progress)), BMP_COMPOSE_MIX | fields);
  }
};

// The first picture sinks into a colour, the second rises from it.
class Dip : public Transition {
 public:
  Dip(const Stage& stage, Colour colour, double hold)
      : key_(stage.width, stage.height, BMP_FORMAT_KEY16),
        color_(stage.packed(colour)),
        moving_share_((1 - hold) / 2) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    const bool sinking = progress < 0.5;
    const double to_end = sinking ? progress : 1 - progress;
    const double share = std::fmax(0, 1 - to_end / moving_share_);
    // A key that is one value everywhere; both fields may be filled, one is read.
    bmp_draw_rect(key_.bitmap(), 0, 0, key_.bitmap()->width, key_.height(),
                  static_cast<uint32_t>(key_level(share)), BMP_OP_SET);
    bmp_compose_color(layers.out, sinking ? layers.from : layers.to, nullptr, key_.bitmap(), nullptr, color_,
                      fields);
  }

 private:
  Frame key_;
  uint32_t color_;
  double moving_share_;
};

std::unique_ptr<Transition> make_dip(const Stage& stage, const Parameters& parameters) {
  const Colour colour = parameters.has("color") ? parameters.colour("color") : stage.background;
  return std::make_unique<Dip>(stage, colour, parameters.number("hold", 0, 0.99));
}

constexpr char kHold[] = "how much of the time is all colour, 0 to 0.99";
constexpr Parameter kBlack[] = {{"color", "black", "the colour between"}, {"hold", "0", kHold}};
constexpr Parameter kWhite[] = {{"color", "white", "the colour between"}, {"hold", "0", kHold}};
constexpr Parameter kDip[] = {{"color", "", "the colour between; none is --background"},
                              {"hold", "0", kHold}};

constexpr TransitionEntry kEntries[] = {
    {"fade",
     "one picture dissolves into the other",
     {},
     [](const Stage&, const Parameters&) -> std::unique_ptr<Transition> { return std::make_unique<Fade>(); }},
    {"fadeblack", "through black", kBlack, make_dip},
    {"fadewhite", "through white", kWhite, make_dip},
    {"dip", "through the background colour", kDip, make_dip},
};

}  // namespace

std::span<const TransitionEntry> fade_entries() {
  return kEntries;
}

}  // namespace dorfx
