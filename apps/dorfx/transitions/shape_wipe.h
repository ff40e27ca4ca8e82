// Wipes whose key is a shape that grows until it covers the frame.
//
// A shape is drawn for a reach, from 0 (nothing) to its full reach (everything, edge and border included),
// and an inset, by which its outline lies within that reach. The plain key has the border's width as inset,
// the border key none. The soft edge lies inside the outline.
#pragma once

#include <memory>
#include <optional>

#include "dorfx/frame.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {

// What all shapes can be told; lengths in pixels.
struct ShapeEdge {
  double softness = 0;
  bool cosine = false;
  double border = 0;
};

class Shape {
 public:
  virtual ~Shape() = default;
  virtual double full_reach() const = 0;
  // Sets the chosen lines of the key plane, all of their pixels.
  virtual void draw(Bitmap* key, double reach, double inset, uint32_t fields) const = 0;
};

// What the shape shows: the second picture, growing; the first, shrinking; or the first shrinking and then
// the second growing, with the background colour around them.
enum class ShapeUse { kOpen, kClose, kCrop };

std::unique_ptr<Transition> make_shape_wipe(const Stage& stage, std::unique_ptr<Shape> shape, ShapeUse use,
                                            const Border& border);

// The parameters that shapes share, for their tables.
constexpr Parameter kSoftnessParameter = {"softness", "0",
                                          "width of the edge, 0 to 1 of the whole run, or pixels (px)"};
constexpr Parameter kProfileParameter = {"profile", "linear", "how a soft edge falls: linear or cosine"};
constexpr Parameter kBorderParameter = {"border", "", "WIDTH:COLOUR, a coloured line along the edge"};
constexpr Parameter kCenterParameter = {"center", "0.5,0.5", "where it opens, across and down, 0 to 1"};

// run: the length in pixels that a softness of 1 stands for.
ShapeEdge read_edge(const Parameters& parameters, double run);

// The centre in pixels and lines.
struct Point {
  double x, y;
};
Point read_center(const Stage& stage, const Parameters& parameters);

}  // namespace dorfx
