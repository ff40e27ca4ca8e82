// Pictures on the sides of a hollow cube.
#include <numbers>

#include "dorfx/transitions/direction.h"
#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/scene.h"

namespace dorfx {
namespace {

using std::numbers::pi;

class Cube : public Transition {
 public:
  // The axis it turns about, and in which sense.
  struct Turn {
    bool vertical_axis;
    int sense;
  };
  Cube(Scene scene, Turn turn, double tilt) : scene_(std::move(scene)), turn_(turn), tilt_(tilt) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    scene_.begin(layers.out, fields);
    std::vector<TexturedQuad> sides;
    for (int i = 0; i < 4; ++i) {
      sides.push_back(side(i % 2 == 0 ? layers.from : layers.to, i, progress));
    }
    scene_.draw_by_depth(sides);
  }

 private:
  // Its place in the row of four is what the turn has to bring it to the front.
  TexturedQuad side(const Bitmap* picture, int place, double progress) const {
    const double swell = std::sin(pi * progress);
    const double angle = turn_.sense * pi / 2 * (progress - place);
    const double half = (turn_.vertical_axis ? scene_.width() : scene_.height()) / 2;
    return {picture, scene_.frame(), each(scene_.place_of(scene_.frame()), [&](const Vec3& p) {
              const Vec3 front = moved(p, 0, 0, -half);
              const Vec3 turned = turn_.vertical_axis ? turned_y(front, angle) : turned_x(front, angle);
              const Vec3 seen =
                  turn_.vertical_axis ? turned_x(turned, tilt_ * swell) : turned_y(turned, tilt_ * swell);
              return moved(seen, 0, 0, half + kBack * scene_.unit() * swell);
            })};
  }

  static constexpr double kBack = 0.6;
  Scene scene_;
  Turn turn_;
  double tilt_;
};

std::unique_ptr<Transition> make_cube(const Stage& stage, const Parameters& parameters) {
  // In the order of Direction.
  static constexpr Cube::Turn kTurns[] = {{true, -1}, {true, 1}, {false, -1}, {false, 1}};
  return std::make_unique<Cube>(make_scene(stage, parameters),
                                kTurns[static_cast<size_t>(read_direction(parameters))],
                                parameters.number("tilt", -60, 60) * pi / 180);
}

constexpr Parameter kCube[] = {{"direction", "left", "where it turns: left, right, up or down"},
                               {"tilt", "15", "how far one looks into it halfway, -60 to 60 degrees"},
                               kDistanceParameter};

constexpr TransitionEntry kEntries[] = {
    {"cube", "the sides of a hollow cube that turns", kCube, make_cube},
};

}  // namespace

std::span<const TransitionEntry> cube_entries() {
  return kEntries;
}

}  // namespace dorfx
