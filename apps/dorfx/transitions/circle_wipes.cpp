// Wipes through a key circle, round on the screen whatever the shape of the pixels.
#include <algorithm>
#include <cmath>

#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/shape_wipe.h"

namespace dorfx {
namespace {

class Disc : public Shape {
 public:
  Disc(const Stage& stage, const ShapeEdge& edge, Point center, double run)
      : edge_(edge),
        center_(center),
        aspect_(stage.line_aspect()),
        full_reach_(run + edge.softness + edge.border) {}

  double full_reach() const override { return full_reach_; }

  void draw(Bitmap* key, double reach, double inset, uint32_t fields) const override {
    const auto radius = static_cast<float>(reach - inset);
    if (radius <= 0) {
      bmp_clear(key, fields);
      return;
    }
    bmp_alpha_circle(key, static_cast<float>(center_.x), static_cast<float>(center_.y) * aspect_, radius,
                     static_cast<float>(edge_.softness), aspect_,
                     fields | (edge_.cosine ? BMP_ALPHA_COSINE : 0));
  }

 private:
  ShapeEdge edge_;
  Point center_;
  float aspect_;
  double full_reach_;
};

template <ShapeUse kUse>
std::unique_ptr<Transition> make_disc(const Stage& stage, const Parameters& parameters) {
  const Point center = read_center(stage, parameters);
  // To the farthest corner.
  const double run = std::hypot(std::max(center.x, stage.width - center.x),
                                std::max(center.y, stage.height - center.y) * stage.line_aspect());
  const ShapeEdge edge = read_edge(parameters, run);
  const Border border = parameters.knows("border") ? parameters.border() : Border{};
  return make_shape_wipe(stage, std::make_unique<Disc>(stage, edge, center, run), kUse, border);
}

constexpr Parameter kCircle[] = {kSoftnessParameter, kProfileParameter, kBorderParameter, kCenterParameter};
constexpr Parameter kIris[] = {{"softness", "0.2", kSoftnessParameter.meaning},
                               {"profile", "cosine", kProfileParameter.meaning},
                               kBorderParameter,
                               kCenterParameter};
constexpr Parameter kCrop[] = {kSoftnessParameter, kProfileParameter, kCenterParameter};

constexpr TransitionEntry kEntries[] = {
    {"circleopen", "a circle opens on the second picture", kCircle, make_disc<ShapeUse::kOpen>},
    {"circleclose", "the first picture closes to a circle", kCircle, make_disc<ShapeUse::kClose>},
    {"circlecrop", "the first picture shrinks to nothing in a circle, the second grows", kCrop,
     make_disc<ShapeUse::kCrop>},
    {"iris", "a soft circle opens on the second picture", kIris, make_disc<ShapeUse::kOpen>},
};

}  // namespace

std::span<const TransitionEntry> circle_entries() {
  return kEntries;
}

}  // namespace dorfx
