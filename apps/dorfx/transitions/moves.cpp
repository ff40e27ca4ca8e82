// Pictures that move as a whole, by block transfer. Positions are whole pixels; in 4:2:2 whole pairs, and in
// interlaced frames whole pairs of lines, so that chroma and fields stay where they belong.
#include <algorithm>
#include <cmath>

#include "dorfx/transitions/direction.h"
#include "dorfx/transitions/entries.h"

namespace dorfx {
namespace {

// Which of the two pictures moves with the boundary.
enum class Moving { kBoth, kSecond, kFirst };

// Along the direction of movement: `length` pixels or lines from src in the picture to dst in the frame.
struct Piece {
  int dst, src, length;
};

struct Pieces {
  Piece from, to;
};

constexpr int floor_to(int value, int grid) {
  return value / grid * grid;
}

// size: of the frame in that direction. towards_start: the movement is leftwards or upwards.
Pieces pieces_at(double progress, int size, int grid, bool towards_start, Moving moving) {
  const double boundary = (towards_start ? 1 - progress : progress) * size;
  const int edge = std::clamp(static_cast<int>(std::lround(boundary / grid)) * grid, 0, floor_to(size, grid));
  // The picture before the boundary has moved by what is hidden of it, the one after it stands at it.
  const int hidden = floor_to(size - edge, grid);
  const bool from_moves = moving != Moving::kSecond, to_moves = moving != Moving::kFirst;
  const bool before_moves = towards_start ? from_moves : to_moves;
  const bool after_moves = towards_start ? to_moves : from_moves;
  const Piece before{0, before_moves ? hidden : 0, edge}, after{edge, after_moves ? 0 : edge, size - edge};
  return towards_start ? Pieces{before, after} : Pieces{after, before};
}

struct Grid {
  int columns, lines;
  int width;  // whole pairs: the last pixel of an odd width has its partner in the frame's spare columns
  explicit Grid(const Stage& stage)
      : columns(stage.format == BMP_FORMAT_YUY2 ? 2 : 1),
        lines(stage.interlaced() ? 2 : 1),
        width((stage.width + columns - 1) / columns * columns) {}
};

class Move : public Transition {
 public:
  Move(const Stage& stage, Direction direction, Moving moving)
      : grid_(stage), direction_(direction), moving_(moving) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    const bool down = is_vertical(direction_), towards_start = is_towards_start(direction_);
    const Pieces pieces = down ? pieces_at(progress, layers.out->height, grid_.lines, towards_start, moving_)
                               : pieces_at(progress, grid_.width, grid_.columns, towards_start, moving_);
    transfer(layers.out, layers.from, pieces.from, down, fields);
    transfer(layers.out, layers.to, pieces.to, down, fields);
  }

 private:
  static void transfer(Bitmap* out, const Bitmap* picture, const Piece& piece, bool down, uint32_t fields) {
    if (down) {
      bmp_blt(out, 0, piece.dst, out->width, piece.length, picture, 0, piece.src, fields);
    } else {
      bmp_blt(out, piece.dst, 0, piece.length, out->height, picture, piece.src, 0, fields);
    }
  }

  Grid grid_;
  Direction direction_;
  Moving moving_;
};

// Strips across the frame in which the second picture pushes the first out, from left and right in turn.
class Slice : public Transition {
 public:
  Slice(const Stage& stage, int count) : grid_(stage), count_(count) {}

  void render(const Layers& layers, double progress, uint32_t fields) override {
    for (int i = 0; i < count_; ++i) {
      const int top = line_of(i, layers.out->height), lines = line_of(i + 1, layers.out->height) - top;
      const Pieces pieces = pieces_at(progress, grid_.width, grid_.columns, i % 2 == 0, Moving::kBoth);
      for (const auto& [picture, piece] : {std::pair{layers.from, pieces.from}, {layers.to, pieces.to}}) {
        bmp_blt(layers.out, piece.dst, top, piece.length, lines, picture, piece.src, top, fields);
      }
    }
  }

 private:
  int line_of(int strip, int height) const {
    return strip == count_ ? height
                           : floor_to(static_cast<int>(int64_t{height} * strip / count_), grid_.lines);
  }

  Grid grid_;
  int count_;
};

template <Direction kDirection, Moving kMoving>
std::unique_ptr<Transition> make_move(const Stage& stage, const Parameters&) {
  return std::make_unique<Move>(stage, kDirection, kMoving);
}

std::unique_ptr<Transition> make_slice(const Stage& stage, const Parameters& parameters) {
  return std::make_unique<Slice>(stage, parameters.whole("count", 1, 256));
}

constexpr Parameter kSlice[] = {{"count", "8", "number of strips, 1 to 256"}};

constexpr TransitionEntry kEntries[] = {
    {"slideleft", "both pictures move left", {}, make_move<Direction::kLeft, Moving::kBoth>},
    {"slideright", "both pictures move right", {}, make_move<Direction::kRight, Moving::kBoth>},
    {"slideup", "both pictures move up", {}, make_move<Direction::kUp, Moving::kBoth>},
    {"slidedown", "both pictures move down", {}, make_move<Direction::kDown, Moving::kBoth>},
    {"coverleft",
     "the second picture moves left over the first",
     {},
     make_move<Direction::kLeft, Moving::kSecond>},
    {"coverright",
     "the second picture moves right over the first",
     {},
     make_move<Direction::kRight, Moving::kSecond>},
    {"coverup", "the second picture moves up over the first", {}, make_move<Direction::kUp, Moving::kSecond>},
    {"coverdown",
     "the second picture moves down over the first",
     {},
     make_move<Direction::kDown, Moving::kSecond>},
    {"revealleft",
     "the first picture moves left off the second",
     {},
     make_move<Direction::kLeft, Moving::kFirst>},
    {"revealright",
     "the first picture moves right off the second",
     {},
     make_move<Direction::kRight, Moving::kFirst>},
    {"revealup", "the first picture moves up off the second", {}, make_move<Direction::kUp, Moving::kFirst>},
    {"revealdown",
     "the first picture moves down off the second",
     {},
     make_move<Direction::kDown, Moving::kFirst>},
    {"slice", "strips move left and right in turn", kSlice, make_slice},
};

}  // namespace

std::span<const TransitionEntry> move_entries() {
  return kEntries;
}

}  // namespace dorfx
