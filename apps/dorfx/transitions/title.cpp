// A title in one colour that flies past while the pictures fade.
#include <cmath>
#include <numbers>

#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/key_parameters.h"
#include "dorfx/transitions/scene.h"

namespace dorfx {
namespace {

class Title : public Transition {
 public:
  Title(const Stage& stage, Scene scene, const Pattern& pattern, uint32_t color)
      : scene_(std::move(scene)), matte_(stage.width, stage.height, BMP_FORMAT_KEY8), color_(color) {
    for (int y = 0; y < stage.height; ++y) {
      for (int x = 0; x < stage.width; ++x) {
        matte_.row(y)[x] = static_cast<uint8_t>(std::lround(pattern.at(x, y) * 255));
      }
    }
  }

  void render(const Layers& layers, double progress, uint32_t fields) override {
    bmp_compose(layers.out, layers.from, layers.to, BMP_LEVEL(std::lround(progress * 4096)),
                BMP_COMPOSE_MIX | fields);
    // From -1 to 1; it faces the viewer for most of the time and has turned away at both ends.
    const double time = 2 * progress - 1;
    const double angle = kTurned * time * time * time;
    const double depth = scene_.unit() * (kNear + kFar - (kFar - kNear) * time) / 2;
    scene_.begin_over(layers.out, fields);
    scene_.draw_color(color_, matte_.bitmap(), each(scene_.place_of(scene_.frame()), [&](const Vec3& p) {
                        return moved(turned_y(p, angle), 0, 0, depth);
                      }));
  }

 private:
  static constexpr double kTurned = std::numbers::pi * 0.55, kFar = 1.2, kNear = -0.3;
  Scene scene_;
  Frame matte_;
  uint32_t color_;
};

std::unique_ptr<Transition> make_title(const Stage& stage, const Parameters& parameters) {
  const Pattern pattern = read_key(stage, parameters, "title");
  return std::make_unique<Title>(stage, make_scene(stage, parameters), pattern,
                                 stage.packed(parameters.colour("color")));
}

constexpr Parameter kTitle[] = {
    {"key", "", "the title: a greyscale picture, white on black; must be given"},
    {"key-invert", "0", "1: black on white"},
    kKeyRangeParameter,
    {"color", "white", "of the title"},
    kDistanceParameter,
};

constexpr TransitionEntry kEntries[] = {
    {"title", "a title flies past while the pictures fade", kTitle, make_title},
};

}  // namespace

std::span<const TransitionEntry> title_entries() {
  return kEntries;
}

}  // namespace dorfx
