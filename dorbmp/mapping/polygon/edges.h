// The edges of a polygon, ready to be walked downward line by line.
//
// Vertical positions are quantised to 1/4096 of a line. A line of an edge list may be a third of a picture's
// line: an edge knows its own lines alone. Single precision throughout.
#pragma once

#include <array>
#include <cstdint>

#include "dorbmp.h"
#include "dorbmp/compiler.h"

namespace dorbmp::mapping {

// The largest position in units of 1/4096 that fits 32 bits, with a line or pixel to spare.
inline constexpr float kFarthest = 0x1p31f - 8192.0f;

// Texture coordinates along an edge or a line, in 16.16 texels. Affine: u and v; in perspective u * q, v * q
// and q. The others mean nothing.
struct Ramps {
  enum Coordinate { kU, kV, kQ };
  Float4 step;
  Float4 at_0;
};

struct Edge {
  Edge* next;
  int32_t first;  // the first line whose centre the edge passes
  int32_t end;    // the line after the last one, no lower than the picture
  float x_step;   // per line
  float x;        // at the first line's centre
  Ramps ramps;    // by line
  // Where the edge starts, and how far it reaches to either side.
  float x_top;
  float x_left;
  float x_right;
};

struct EdgeSetup {
  int32_t lines_per_line;  // 1, or 3 for smooth edges
  int32_t height;          // of the picture, in its own lines
  bool perspective;
  float v_scale;
};

class EdgeList {
 public:
  // Quantises, orients and sorts; edges without a line of the picture are left out. Coordinates beyond the
  // fixed-point range are clamped to it. count is at most BMP_MAX_VERTICES.
  EdgeList(const PolygonVertex* vertices, int32_t count, const EdgeSetup& setup);
  EdgeList(const EdgeList&) = delete;
  EdgeList& operator=(const EdgeList&) = delete;

  // By first line; of equal ones, the polygon's later edge comes first. Ends with null.
  const Edge* first() const { return first_; }

  // Moves x of the edges that start above the picture to line 0.
  void walk_to_picture();

 private:
  struct Place;
  void add(const Place& from, const Place& to, int32_t lines);
  void insert(Edge& edge);

  Edge* first_ = nullptr;
  int32_t count_ = 0;
  std::array<Edge, BMP_MAX_VERTICES> edges_;
};

// Whether a polygon can be drawn at all: a legal count, and every number a number.
bool is_drawable(const PolygonVertex* vertices, int32_t count);

}  // namespace dorbmp::mapping
