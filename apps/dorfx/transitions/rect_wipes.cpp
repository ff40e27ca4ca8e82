// Wipes through a key rectangle. Its edges lie at sub-pixel positions; soft ones are those of a rectangle
// with soft corners, whose other sides stand outside the frame.
#include <algorithm>
#include <cmath>

#include "dorfx/transitions/direction.h"
#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/shape_wipe.h"

namespace dorfx {
namespace {

// A soft rectangle keeps the whole softness only while it is more than twice as wide.
double outside(double softness) {
  return 2 * softness + 8;
}

struct Rect {
  double left, top, right, bottom;
};

// The library cuts positions down to 1/64; rounded ones lie evenly about the true ones.
float snapped(double position) {
  return static_cast<float>(std::round(position * 64) / 64);
}

struct Side {
  float start, length;
};

// The library takes a side that begins and ends within one pixel for two partial pixels; begun at the pixel's
// own start it is one, with the same coverage.
Side side_between(double first, double last) {
  const float start = snapped(first), length = snapped(last) - start;
  const float pixel = std::floor(start);
  return {start + length < pixel + 1 ? pixel : start, length};
}

void draw_rect(Bitmap* key, const Rect& rect, double radius_x, double radius_y, uint32_t mode,
               uint32_t fields) {
  bmp_clear(key, fields);
  if (rect.right <= rect.left || rect.bottom <= rect.top) return;
  const Side across = side_between(rect.left, rect.right), down = side_between(rect.top, rect.bottom);
  bmp_alpha_rect(key, across.start, down.start, across.length, down.length, static_cast<float>(radius_x),
                 static_cast<float>(radius_y), mode | fields);
}

uint32_t edge_mode(const ShapeEdge& edge) {
  if (edge.softness <= 0) return BMP_ALPHA_MAX;
  return BMP_ALPHA_MAX | BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT | (edge.cosine ? BMP_ALPHA_COSINE : 0);
}

// The frame's part between two moving edges across, or down; an edge may stand still, outside.
class Band : public Shape {
 public:
  // How far each side moves per pixel of reach, from where it starts.
  struct Motion {
    bool down;  // else across
    double start_near, near, start_far, far;
  };

  Band(const Stage& stage, const ShapeEdge& edge, const Motion& motion, double run)
      : edge_(edge),
        motion_(motion),
        width_(stage.width),
        height_(stage.height),
        line_(motion.down ? static_cast<double>(stage.line_aspect()) : 1),
        full_reach_(run + (edge.softness + edge.border) / line_) {}

  double full_reach() const override { return full_reach_; }

  void draw(Bitmap* key, double reach, double inset, uint32_t fields) const override {
    const double far_out = outside(edge_.softness / std::min(line_, 1.0));
    const double depth = std::max(0.0, reach - inset / line_);
    const double first = motion_.near != 0 ? motion_.start_near - depth : -far_out;
    const double last =
        motion_.far != 0 ? motion_.start_far + depth : (motion_.down ? height_ : width_) + far_out;
    if (depth <= 0) {
      bmp_clear(key, fields);
    } else if (motion_.down) {
      draw_rect(key, {-far_out, first, width_ + far_out, last}, edge_.softness, edge_.softness / line_,
                edge_mode(edge_), fields);
    } else {
      draw_rect(key, {first, -far_out, last, height_ + far_out}, edge_.softness, edge_.softness,
                edge_mode(edge_), fields);
    }
  }

 private:
  ShapeEdge edge_;
  Motion motion_;
  double width_, height_;
  double line_;  // the height, or width, of a step in pixel widths
  double full_reach_;
};

// A rectangle of the frame's shape that grows from a point; hard corners may be rounded.
class GrowingBox : public Shape {
 public:
  GrowingBox(const Stage& stage, const ShapeEdge& edge, Point center, double radius)
      : edge_(edge),
        center_(center),
        line_(static_cast<double>(stage.line_aspect())),
        slant_(static_cast<double>(stage.height) / stage.width),
        radius_(radius) {
    const double across = std::max(center.x, stage.width - center.x);
    const double down = std::max(center.y, stage.height - center.y) / slant_;
    // Soft edges and the border must have left the frame, and rounded corners just as far as their arc
    // passes over the frame's corner.
    const double shape = slant_ * line_;
    const double margin = (edge.softness + edge.border) * std::max(1.0, 1 / shape);
    const double arc = (1 + shape - std::sqrt(2 * shape)) / (1 + shape * shape);
    full_reach_ = std::max(across, down) + margin + (edge.softness > 0 ? 0 : radius * arc);
  }

  double full_reach() const override { return full_reach_; }

  void draw(Bitmap* key, double reach, double inset, uint32_t fields) const override {
    const double half_width = reach - inset, half_height = reach * slant_ - inset / line_;
    const double corner = edge_.softness > 0 ? edge_.softness : radius_;
    uint32_t mode = edge_mode(edge_);
    if (edge_.softness <= 0 && radius_ > 0) mode |= BMP_ALPHA_ROUNDED | BMP_ALPHA_HARD;
    const Rect rect = half_width > 0 && half_height > 0
                          ? Rect{center_.x - half_width, center_.y - half_height, center_.x + half_width,
                                 center_.y + half_height}
                          : Rect{};
    draw_rect(key, rect, corner, corner / line_, mode, fields);
  }

 private:
  ShapeEdge edge_;
  Point center_;
  double line_, slant_, radius_, full_reach_;
};

// The second picture comes in, moving towards a side.
template <Direction kDirection>
std::unique_ptr<Transition> make_wipe(const Stage& stage, const Parameters& parameters) {
  const bool down = is_vertical(kDirection);
  const double run = down ? stage.height : stage.width;
  const Band::Motion motion =
      is_towards_start(kDirection) ? Band::Motion{down, run, 1, 0, 0} : Band::Motion{down, 0, 0, 0, 1};
  const ShapeEdge edge = read_edge(parameters, run * (down ? stage.line_aspect() : 1));
  return make_shape_wipe(stage, std::make_unique<Band>(stage, edge, motion, run), ShapeUse::kOpen,
                         parameters.border());
}

// A band across the frame ("horz") or down it ("vert") grows from the centre, or shrinks to it.
template <bool kHorizontal, ShapeUse kUse>
std::unique_ptr<Transition> make_band(const Stage& stage, const Parameters& parameters) {
  const double length = kHorizontal ? stage.height : stage.width;
  const double position = parameters.number("center", 0, 1) * length;
  const double run = std::max(position, length - position);
  const ShapeEdge edge = read_edge(parameters, run * (kHorizontal ? stage.line_aspect() : 1));
  const Band::Motion motion{kHorizontal, position, 1, position, 1};
  return make_shape_wipe(stage, std::make_unique<Band>(stage, edge, motion, run), kUse, parameters.border());
}

template <ShapeUse kUse>
std::unique_ptr<Transition> make_box(const Stage& stage, const Parameters& parameters) {
  const Point center = read_center(stage, parameters);
  const ShapeEdge edge = read_edge(parameters, std::max(center.x, stage.width - center.x));
  const double radius = parameters.knows("radius") ? parameters.number("radius", 0, 32767) : 0;
  const Border border = parameters.knows("border") ? parameters.border() : Border{};
  return make_shape_wipe(stage, std::make_unique<GrowingBox>(stage, edge, center, radius), kUse, border);
}

constexpr Parameter kWipe[] = {kSoftnessParameter, kProfileParameter, kBorderParameter};
constexpr Parameter kBand[] = {kSoftnessParameter,
                               kProfileParameter,
                               kBorderParameter,
                               {"center", "0.5", "where it opens or closes, 0 to 1"}};
constexpr Parameter kBox[] = {kSoftnessParameter,
                              kProfileParameter,
                              kBorderParameter,
                              kCenterParameter,
                              {"radius", "0", "rounding of hard corners in pixels"}};
constexpr Parameter kCrop[] = {kSoftnessParameter, kProfileParameter, kCenterParameter};

constexpr TransitionEntry kEntries[] = {
    {"wipeleft", "the second picture uncovered from the right, leftwards", kWipe,
     make_wipe<Direction::kLeft>},
    {"wiperight", "the second picture uncovered from the left, rightwards", kWipe,
     make_wipe<Direction::kRight>},
    {"wipeup", "the second picture uncovered from below, upwards", kWipe, make_wipe<Direction::kUp>},
    {"wipedown", "the second picture uncovered from above, downwards", kWipe, make_wipe<Direction::kDown>},
    {"horzopen", "a horizontal slit opens on the second picture", kBand, make_band<true, ShapeUse::kOpen>},
    {"horzclose", "the first picture closes to a horizontal slit", kBand, make_band<true, ShapeUse::kClose>},
    {"vertopen", "a vertical slit opens on the second picture", kBand, make_band<false, ShapeUse::kOpen>},
    {"vertclose", "the first picture closes to a vertical slit", kBand, make_band<false, ShapeUse::kClose>},
    {"box", "a box opens on the second picture", kBox, make_box<ShapeUse::kOpen>},
    {"rectcrop", "the first picture shrinks to nothing in a box, the second grows", kCrop,
     make_box<ShapeUse::kCrop>},
};

}  // namespace

std::span<const TransitionEntry> rect_entries() {
  return kEntries;
}

}  // namespace dorfx
