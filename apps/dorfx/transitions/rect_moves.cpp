// Pictures that move and change their size, at sub-pixel positions: from frame to frame they advance by the
// same fraction of a pixel.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "dorfx/pixels.h"
#include "dorfx/transitions/direction.h"
#include "dorfx/transitions/entries.h"
#include "dorfx/transitions/rect_tiles.h"
#include "dorfx/transitions/shape_wipe.h"

namespace dorfx {
namespace {

double between(double first, double last, double share) {
  return first + (last - first) * share;
}

Box between(const Box& first, const Box& last, double share) {
  return {between(first.left, last.left, share), between(first.top, last.top, share),
          between(first.right, last.right, share), between(first.bottom, last.bottom, share)};
}

// The first picture is pressed flat towards the centre line, over the second.
template <bool kDown>
class Squeeze : public Transition {
 public:
  explicit Squeeze(const Stage& stage) : tiles_(stage) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    const Box frame = tiles_.frame();
    const double center_x = frame.right / 2, center_y = frame.bottom / 2;
    const Box flat =
        kDown ? Box{0, center_y, frame.right, center_y} : Box{center_x, 0, center_x, frame.bottom};
    const Box place = between(frame, flat, progress);
    tiles_.begin(layers.out, fields);
    tiles_.keep_around(layers.to, frame, place);
    tiles_.tile(layers.from, frame, place);
  }

 private:
  RectTiles tiles_;
};

// The second picture pushes the first out of the frame.
class Push : public Transition {
 public:
  // Where the second picture comes from: a frame's width or height beside the frame.
  struct Step {
    int x, y;
  };
  Push(const Stage& stage, Step step) : tiles_(stage), step_(step) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    tiles_.begin(layers.out, fields);
    place(layers.from, -progress);
    place(layers.to, 1 - progress);
  }

 private:
  // Moved by a share of the frame; only the part that is in the frame is drawn.
  void place(const Bitmap* picture, double share) {
    const Box frame = tiles_.frame();
    const double x = share * step_.x * frame.right, y = share * step_.y * frame.bottom;
    const Box in_frame{std::max(0.0, x), std::max(0.0, y), std::min(frame.right, frame.right + x),
                       std::min(frame.bottom, frame.bottom + y)};
    const Box part{in_frame.left - x, in_frame.top - y, in_frame.right - x, in_frame.bottom - y};
    tiles_.tile(picture, part, in_frame);
  }

  RectTiles tiles_;
  Step step_;
};

// The first picture comes nearer and then fades into the second.
class ZoomIn : public Transition {
 public:
  ZoomIn(const Stage& stage, double zoom)
      : tiles_(stage), near_(stage.width, stage.height, stage.format), zoom_(zoom) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    const Box frame = tiles_.frame();
    const double center_x = frame.right / 2, center_y = frame.bottom / 2;
    // The same factor in the same time.
    const double hidden = 1 - std::pow(zoom_, -progress);
    const Box seen = between(frame, {center_x, center_y, center_x, center_y}, hidden);
    tiles_.begin(near_.bitmap(), fields);
    tiles_.tile(layers.from, seen, frame);
    const double mix = std::max(0.0, 2 * progress - 1);
    bmp_compose(layers.out, near_.bitmap(), layers.to, BMP_LEVEL(std::lround(mix * 4096)),
                BMP_COMPOSE_MIX | fields);
  }

 private:
  RectTiles tiles_;
  Frame near_;
  double zoom_;
};

// The second picture opens in a small window, stays there, and grows to the whole frame.
class PictureInPicture : public Transition {
 public:
  PictureInPicture(const Stage& stage, Box window, double hold, const Border& border)
      : tiles_(stage),
        color_(stage.width, stage.height, stage.format),
        window_(window),
        moving_share_((1 - hold) / 2),
        border_width_(border.width),
        line_aspect_(stage.line_aspect()) {
    fill(color_, stage.packed(border.colour));
  }

  void render(const Layers& layers, double progress, uint32_t fields) override {
    const Box frame = tiles_.frame();
    const double opened = std::min(1.0, progress / moving_share_);
    const double grown = std::max(0.0, 1 - (1 - progress) / moving_share_);
    const double x = (window_.left + window_.right) / 2, y = (window_.top + window_.bottom) / 2;
    const Box place = between(between({x, y, x, y}, window_, opened), frame, grown);
    const double across = border_width_ * opened, down = across / line_aspect_;
    const Box bordered{std::max(0.0, place.left - across), std::max(0.0, place.top - down),
                       std::min(frame.right, place.right + across),
                       std::min(frame.bottom, place.bottom + down)};
    tiles_.begin(layers.out, fields);
    tiles_.keep_around(layers.from, frame, bordered);
    tiles_.keep_around(color_.bitmap(), bordered, place);
    tiles_.tile(layers.to, frame, place);
  }

 private:
  RectTiles tiles_;
  Frame color_;
  Box window_;
  double moving_share_, border_width_, line_aspect_;
};

// Out to a wall of both pictures in turn, along it, and into one of the second.
class Mosaic : public Transition {
 public:
  Mosaic(const Stage& stage, double count) : tiles_(stage), count_(count) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    const Box frame = tiles_.frame();
    // In boxes of the wall; the first picture is at 0, 0 and the one to reach at kColumn, kRow.
    const double seen = 1 + (count_ - 1) * std::sin(std::numbers::pi * progress);
    const double along = progress * progress * (3 - 2 * progress);
    const double left = kColumn * along + (1 - seen) / 2, top = kRow * along + (1 - seen) / 2;
    const auto column_at = [&](int column) { return (column - left) / seen * frame.right; };
    const auto row_at = [&](int row) { return (row - top) / seen * frame.bottom; };
    tiles_.begin(layers.out, fields);
    for (int row = static_cast<int>(std::floor(top)); row < top + seen; ++row) {
      for (int column = static_cast<int>(std::floor(left)); column < left + seen; ++column) {
        const bool is_second = ((column + row) & 1) != 0;
        tiles_.tile(is_second ? layers.to : layers.from, frame,
                    {column_at(column), row_at(row), column_at(column + 1), row_at(row + 1)});
      }
    }
  }

 private:
  static constexpr int kColumn = 2, kRow = 1;
  RectTiles tiles_;
  double count_;
};

template <bool kDown>
std::unique_ptr<Transition> make_squeeze(const Stage& stage, const Parameters&) {
  return std::make_unique<Squeeze<kDown>>(stage);
}

std::unique_ptr<Transition> make_push(const Stage& stage, const Parameters& parameters) {
  // In the order of Direction.
  static constexpr Push::Step kSteps[] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
  return std::make_unique<Push>(stage, kSteps[static_cast<size_t>(read_direction(parameters))]);
}

std::unique_ptr<Transition> make_zoom_in(const Stage& stage, const Parameters& parameters) {
  return std::make_unique<ZoomIn>(stage, parameters.number("zoom", 1, 100));
}

std::unique_ptr<Transition> make_picture_in_picture(const Stage& stage, const Parameters& parameters) {
  const double size = parameters.number("size", 0.01, 1);
  const Point center = read_center(stage, parameters);
  const double width = size * stage.width, height = size * stage.height;
  // Kept inside the frame.
  const double left = std::clamp(center.x - width / 2, 0.0, stage.width - width);
  const double top = std::clamp(center.y - height / 2, 0.0, stage.height - height);
  return std::make_unique<PictureInPicture>(stage, Box{left, top, left + width, top + height},
                                            parameters.number("hold", 0, 0.99), parameters.border());
}

std::unique_ptr<Transition> make_mosaic(const Stage& stage, const Parameters& parameters) {
  return std::make_unique<Mosaic>(stage, parameters.number("count", 1, 16));
}

constexpr Parameter kPush[] = {{"direction", "left", "where both move: left, right, up or down"}};
constexpr Parameter kZoomIn[] = {{"zoom", "4", "how much larger the first picture becomes, 1 to 100"}};
constexpr Parameter kPictureInPicture[] = {
    {"size", "0.4", "of the window, as a share of the frame, 0.01 to 1"},
    {"center", "0.72,0.3", "of the window, across and down, 0 to 1"},
    {"hold", "0.4", "how much of the time the window stands still, 0 to 0.99"},
    {"border", "3:white", "WIDTH:COLOUR, the window's frame"},
};
constexpr Parameter kMosaic[] = {{"count", "3", "boxes across the frame at the farthest, 1 to 16"}};

constexpr TransitionEntry kEntries[] = {
    {"squeezeh",
     "the first picture is pressed to a horizontal line, over the second",
     {},
     make_squeeze<true>},
    {"squeezev", "the first picture is pressed to a vertical line, over the second", {}, make_squeeze<false>},
    {"zoomin", "the first picture comes nearer and fades into the second", kZoomIn, make_zoom_in},
    {"push", "the second picture pushes the first out, at sub-pixel positions", kPush, make_push},
    {"pip", "the second picture opens in a window, which grows to the frame", kPictureInPicture,
     make_picture_in_picture},
    {"mosaic", "out to a wall of both pictures and into another of its boxes", kMosaic, make_mosaic},
};

}  // namespace

std::span<const TransitionEntry> rect_move_entries() {
  return kEntries;
}

}  // namespace dorfx
