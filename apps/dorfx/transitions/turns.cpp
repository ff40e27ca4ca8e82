// Pictures that turn and move in space.
#include <algorithm>
#include <numbers>
#include <optional>

#include "dorfx/transitions/cut_out.h"
#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/key_parameters.h"
#include "dorfx/transitions/scene.h"

namespace dorfx {
namespace {

using std::numbers::pi;

// 0 at both ends, 1 in the middle.
double swell(double progress) {
  return std::sin(pi * progress);
}

// What all of them are told; angles and lengths are the transition's own.
class SceneTransition : public Transition {
 public:
  SceneTransition(const Stage& stage, const Parameters& parameters) : scene_(make_scene(stage, parameters)) {
    if (parameters.knows("key") && parameters.has("key")) {
      cut_out_.emplace(read_key(stage, parameters, "shape"));
    }
  }

  void render(const Layers& layers, double progress, uint32_t fields) final {
    if (cut_out_) key_ = cut_out_->at(progress, fields);
    scene_.begin(layers.out, fields);
    draw(layers, progress);
  }

 protected:
  virtual void draw(const Layers& layers, double progress) = 0;

  template <class Move>
  TexturedQuad whole(const Bitmap* picture, Move move) const {
    return {picture, scene_.frame(), each(scene_.place_of(scene_.frame()), move), key_};
  }

  Scene scene_;

 private:
  std::optional<CutOut> cut_out_;
  const Bitmap* key_ = nullptr;
};

int read_turns(const Parameters& parameters) {
  return parameters.whole("turns", -16, 16);
}

// The first picture turns away into the distance, the second comes out of it.
class Spin : public SceneTransition {
 public:
  Spin(const Stage& stage, const Parameters& parameters)
      : SceneTransition(stage, parameters), turns_(read_turns(parameters)) {}

 protected:
  void draw(const Layers& layers, double progress) override {
    // Down to a point, where they change places.
    const double size = std::max(std::fabs(std::cos(pi * progress)), 1e-3);
    const double depth = scene_.eye() * (1 / size - 1);
    scene_.draw(whole(progress < 0.5 ? layers.from : layers.to, [&](const Vec3& p) {
      const Vec3 spun = turned_z(p, 2 * pi * turns_ * progress);
      return moved(turned_x(spun, kLean * swell(progress)), 0, 0, depth);
    }));
  }

 private:
  static constexpr double kLean = pi / 4;
  int turns_;
};

// A sheet with a picture on either side turns over.
class Flip : public SceneTransition {
 public:
  Flip(const Stage& stage, const Parameters& parameters)
      : SceneTransition(stage, parameters), about_(static_cast<About>(parameters.choice("axis", kAxes))) {}

 protected:
  void draw(const Layers& layers, double progress) override {
    const auto turned = [&](double angle) {
      return [this, angle, progress](const Vec3& p) {
        const Vec3 at = about_ == About::kVertical ? turned_y(p, angle) : turned_x(p, angle);
        // As far back as its nearer edge comes forward.
        return moved(at, 0, 0, scene_.unit() / 2 * swell(progress));
      };
    };
    scene_.draw(whole(layers.from, turned(pi * progress)));
    scene_.draw(whole(layers.to, turned(pi * progress - pi)));
  }

 private:
  enum class About { kVertical, kHorizontal };
  static constexpr const char* kAxes[] = {"vertical", "horizontal"};
  About about_;
};

// A sheet with a picture on either side turns over, spinning meanwhile.
class Tumble : public SceneTransition {
 public:
  Tumble(const Stage& stage, const Parameters& parameters)
      : SceneTransition(stage, parameters), turns_(read_turns(parameters)) {}

 protected:
  void draw(const Layers& layers, double progress) override {
    const auto tumbled = [&](double angle) {
      return [this, angle, progress](const Vec3& p) {
        const Vec3 at = turned_x(turned_z(p, 2 * pi * turns_ * progress), angle);
        return moved(at, 0, 0, scene_.unit() * swell(progress));
      };
    };
    scene_.draw(whole(layers.from, tumbled(pi * progress)));
    scene_.draw(whole(layers.to, tumbled(pi * progress - pi)));
  }

 private:
  int turns_;
};

// The first picture is folded up like a screen, to the left, off the second.
class Fold : public SceneTransition {
 public:
  Fold(const Stage& stage, const Parameters& parameters)
      : SceneTransition(stage, parameters), count_(parameters.whole("count", 1, 256)) {}

 protected:
  void draw(const Layers& layers, double progress) override {
    scene_.draw(whole(layers.to, [](const Vec3& p) { return p; }));
    const double strip = scene_.width() / count_, angle = pi / 2 * progress;
    const double step = strip * std::cos(angle), back = strip * std::sin(angle);
    // Out of the frame by as much as the far folds are seen nearer to the middle.
    const double left = -scene_.width() / 2 / scene_.shrink_at(back);
    const double half = scene_.height() / 2;
    const auto sheet = [&](int i) {
      const double x0 = left + i * step, x1 = left + (i + 1) * step;
      const double z0 = i % 2 == 0 ? 0 : back, z1 = back - z0;
      const Box frame = scene_.frame();
      return TexturedQuad{layers.from,
                          {i * strip, 0, (i + 1) * strip, frame.bottom},
                          {Vec3{x0, -half, z0}, {x1, -half, z1}, {x1, half, z1}, {x0, half, z0}}};
    };
    // Those nearer to the middle stand in front of those beyond them.
    std::vector<TexturedQuad> sheets;
    const int middle = std::clamp(static_cast<int>(-left / std::max(step, 1e-9)), 0, count_);
    for (int i = 0; i < middle; ++i) sheets.push_back(sheet(i));
    for (int i = count_ - 1; i >= middle; --i) sheets.push_back(sheet(i));
    scene_.draw_joined(sheets);
  }

 private:
  int count_;
};

// The first picture opens like a double door, the second comes forward behind it.
class Doorway : public SceneTransition {
 public:
  using SceneTransition::SceneTransition;

 protected:
  void draw(const Layers& layers, double progress) override {
    const double depth = scene_.unit() * (1 - progress);
    scene_.draw(whole(layers.to, [&](const Vec3& p) { return moved(p, 0, 0, depth); }));
    const Box frame = scene_.frame();
    const double hinge = scene_.width() / 2;
    const auto door = [&](const Box& part, double at, double angle) {
      return TexturedQuad{layers.from, part, each(scene_.place_of(part), [&](const Vec3& p) {
                            return moved(turned_y(moved(p, -at, 0, 0), angle), at, 0, 0);
                          })};
    };
    const double angle = pi / 2 * progress;
    scene_.draw_joined({door({0, 0, frame.right / 2, frame.bottom}, -hinge, -angle),
                        door({frame.right / 2, 0, frame.right, frame.bottom}, hinge, angle)});
  }
};

// The two pictures go around one another.
class Swap : public SceneTransition {
 public:
  using SceneTransition::SceneTransition;

 protected:
  void draw(const Layers& layers, double progress) override {
    const TexturedQuad from = stood(layers.from, -1, progress, progress);
    const TexturedQuad to = stood(layers.to, 1, 1 - progress, progress);
    const bool second_is_nearer = progress > 0.5;
    scene_.draw(second_is_nearer ? from : to);
    scene_.draw(second_is_nearer ? to : from);
  }

 private:
  // side: -1 to the left, 1 to the right. depth in units.
  TexturedQuad stood(const Bitmap* picture, double side, double depth, double progress) const {
    return whole(picture, [&](const Vec3& p) {
      return moved(turned_y(p, side * kTurn * swell(progress)),
                   side * kAside * scene_.width() * swell(progress), 0, depth * scene_.unit());
    });
  }

  static constexpr double kAside = 0.6, kTurn = pi / 6;
};

template <class Kind>
std::unique_ptr<Transition> make(const Stage& stage, const Parameters& parameters) {
  return std::make_unique<Kind>(stage, parameters);
}

constexpr Parameter kKey = {"key", "", "cuts both pictures out: a greyscale picture, white is what stays"};
constexpr Parameter kKeyInvert = {"key-invert", "0", "1: black is what stays"};
constexpr char kWholeTurns[] = "how many times it spins around, a whole number, -16 to 16";
constexpr Parameter kSpin[] = {
    {"turns", "1", kWholeTurns}, kDistanceParameter, kSmoothParameter, kKey, kKeyInvert, kKeyRangeParameter};
constexpr Parameter kFlip[] = {{"axis", "vertical", "what it turns about: vertical or horizontal"},
                               kDistanceParameter,
                               kSmoothParameter,
                               kKey,
                               kKeyInvert,
                               kKeyRangeParameter};
constexpr Parameter kFold[] = {
    {"count", "6", "number of strips, 1 to 256"}, kDistanceParameter, kSmoothParameter};
constexpr Parameter kDoorway[] = {kDistanceParameter, kSmoothParameter};
constexpr Parameter kSwap[] = {kDistanceParameter, kSmoothParameter, kKey, kKeyInvert, kKeyRangeParameter};

constexpr TransitionEntry kEntries[] = {
    {"spin", "the first picture spins away, the second comes back spinning", kSpin, make<Spin>},
    {"flip", "a sheet with a picture on either side turns over", kFlip, make<Flip>},
    {"tumble", "a sheet with a picture on either side turns over, spinning", kSpin, make<Tumble>},
    {"fold", "the first picture is folded up in strips, off the second", kFold, make<Fold>},
    {"doorway", "the first picture opens like a double door on the second", kDoorway, make<Doorway>},
    {"swap", "the two pictures go around one another", kSwap, make<Swap>},
};

}  // namespace

std::span<const TransitionEntry> turn_entries() {
  return kEntries;
}

}  // namespace dorfx
