// Wipes with slanting edges: polygons in a key plane.
#include <numbers>
#include <vector>

#include "dorfx/frame.h"
#include "dorfx/pixels.h"
#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/scene.h"
#include "dorfx/transitions/shape_wipe.h"

namespace dorfx {
namespace {

using std::numbers::pi;

class KeyPolygonWipe : public Transition {
 public:
  KeyPolygonWipe(const Stage& stage, bool smooth)
      : width_(stage.width),
        height_(stage.height),
        smooth_(smooth),
        key_(stage.width, stage.height, BMP_FORMAT_KEY16),
        full_(4, 4, BMP_FORMAT_KEY16) {
    bmp_draw_rect(full_.bitmap(), 0, 0, 4, 4, 4096, BMP_OP_SET);
  }

  void render(const Layers& layers, double progress, uint32_t fields) final {
    bmp_clear(key_.bitmap(), fields);
    const Uncovered uncovered = at(progress);
    draw(uncovered.polygon, fields);
    pair_last_key(key_, fields);
    if (uncovered.of_first) {
      bmp_compose(layers.out, layers.to, layers.from, key_.bitmap(), fields);
    } else {
      bmp_compose(layers.out, layers.from, layers.to, key_.bitmap(), fields);
    }
  }

 protected:
  // A convex polygon, and whether the first picture is in it instead of the second.
  struct Uncovered {
    std::vector<Point> polygon;
    bool of_first = false;
  };
  virtual Uncovered at(double progress) const = 0;

  double width_, height_;

 private:
  void draw(const std::vector<Point>& polygon, uint32_t fields) {
    std::vector<PolygonVertex> vertices;
    for (const Point& point : polygon) {
      vertices.push_back({2, 2, 1, static_cast<float>(point.x), static_cast<float>(point.y)});
    }
    bmp_map_polygon(key_.bitmap(), nullptr, nullptr, full_.bitmap(), nullptr, vertices.data(),
                    static_cast<int32_t>(vertices.size()), fields | (smooth_ ? BMP_MAP_SMOOTH : 0));
  }

  bool smooth_;
  Frame key_, full_;
};

// From one corner to the opposite one.
class Diagonal : public KeyPolygonWipe {
 public:
  Diagonal(const Stage& stage, bool smooth, bool from_left, bool from_top)
      : KeyPolygonWipe(stage, smooth), from_left_(from_left), from_top_(from_top) {}

 protected:
  Uncovered at(double progress) const override {
    const Point corner{from_left_ ? 0 : width_, from_top_ ? 0 : height_};
    const double across = (from_left_ ? 2 : -2) * progress * width_;
    const double down = (from_top_ ? 2 : -2) * progress * height_;
    return {{corner, {corner.x + across, corner.y}, {corner.x, corner.y + down}}};
  }

 private:
  bool from_left_, from_top_;
};

// Like the hand of a clock.
class Radial : public KeyPolygonWipe {
 public:
  Radial(const Stage& stage, bool smooth, Point center)
      : KeyPolygonWipe(stage, smooth), center_(center), line_aspect_(stage.line_aspect()) {}

 protected:
  Uncovered at(double progress) const override {
    // More than half a turn is what the rest leaves: a convex polygon either way.
    const double hand = 2 * pi * progress;
    return progress <= 0.5 ? Uncovered{sector(0, hand)} : Uncovered{sector(hand, 2 * pi), true};
  }

 private:
  // Angles from the top, clockwise. Its far edges lie outside the frame.
  std::vector<Point> sector(double first, double last) const {
    const double reach = 2 * std::hypot(width_, height_ * line_aspect_);
    std::vector<Point> polygon{center_};
    constexpr int kParts = 4;
    for (int i = 0; i <= kParts; ++i) {
      const double angle = first + (last - first) * i / kParts;
      polygon.push_back(
          {center_.x + reach * std::sin(angle), center_.y - reach * std::cos(angle) / line_aspect_});
    }
    return polygon;
  }

  Point center_;
  double line_aspect_;
};

template <bool kFromLeft, bool kFromTop>
std::unique_ptr<Transition> make_diagonal(const Stage& stage, const Parameters& parameters) {
  return std::make_unique<Diagonal>(stage, parameters.flag("smooth"), kFromLeft, kFromTop);
}

std::unique_ptr<Transition> make_radial(const Stage& stage, const Parameters& parameters) {
  return std::make_unique<Radial>(stage, parameters.flag("smooth"), read_center(stage, parameters));
}

constexpr Parameter kSmooth = {"smooth", "1", "0: edges without anti-aliasing"};
constexpr Parameter kDiagonal[] = {kSmooth};
constexpr Parameter kRadial[] = {{"center", "0.5,0.5", "where the hand turns, across and down, 0 to 1"},
                                 kSmooth};

constexpr TransitionEntry kEntries[] = {
    {"diagtl", "a slanting edge moves to the upper left", kDiagonal, make_diagonal<false, false>},
    {"diagtr", "a slanting edge moves to the upper right", kDiagonal, make_diagonal<true, false>},
    {"diagbl", "a slanting edge moves to the lower left", kDiagonal, make_diagonal<false, true>},
    {"diagbr", "a slanting edge moves to the lower right", kDiagonal, make_diagonal<true, true>},
    {"radial", "an edge turns like the hand of a clock", kRadial, make_radial},
};

}  // namespace

std::span<const TransitionEntry> polygon_wipe_entries() {
  return kEntries;
}

}  // namespace dorfx
