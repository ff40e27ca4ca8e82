#include "dorbmp/mapping/polygon/edges.h"

#include <algorithm>
#include <cmath>

namespace dorbmp::mapping {
namespace {

constexpr float kUnit = 4096.0f;  // of a line, of a pixel
constexpr float kTexel = 65536.0f;

int32_t quantised(float position, float units) {
  return static_cast<int32_t>(std::clamp(position * units, -kFarthest, kFarthest));
}

// The first line whose centre lies at or below y.
int32_t line_from(int32_t y) {
  return (y + 2047) >> 12;
}

// Of two positions: it may take one bit more than they do.
float distance(int32_t from, int32_t to) {
  return static_cast<float>(int64_t{to} - from);
}

}  // namespace

bool is_drawable(const PolygonVertex* vertices, int32_t count) {
  if (count < 1 || count > BMP_MAX_VERTICES) return false;
  for (int32_t i = 0; i < count; ++i) {
    const PolygonVertex& v = vertices[i];
    if (std::isnan(v.u) || std::isnan(v.v) || std::isnan(v.q) || std::isnan(v.x) || std::isnan(v.y)) {
      return false;
    }
  }
  return true;
}

// A vertex, quantised.
struct EdgeList::Place {
  int32_t x;
  int32_t y;
  Float4 coordinates;

  Place(const PolygonVertex& vertex, const EdgeSetup& setup)
      : x(quantised(vertex.x, kUnit)),
        y(quantised(vertex.y, kUnit * static_cast<float>(setup.lines_per_line))),
        coordinates{vertex.u, vertex.v, vertex.q} {
    if (setup.perspective) coordinates *= Float4{vertex.q, vertex.q, 1.0f};
    coordinates *= Float4{kTexel, kTexel * setup.v_scale, 1.0f};
  }
};

EdgeList::EdgeList(const PolygonVertex* vertices, int32_t count, const EdgeSetup& setup) {
  // No line is numbered higher than this, and the product cannot overflow.
  const int32_t lines = std::min(setup.height, 1 << 20) * setup.lines_per_line;
  Place previous(vertices[count - 1], setup);
  for (int32_t i = 0; i < count; ++i) {
    const Place place(vertices[i], setup);
    place.y < previous.y ? add(place, previous, lines) : add(previous, place, lines);
    previous = place;
  }
}

void EdgeList::add(const Place& top, const Place& bottom, int32_t lines) {
  const int32_t first = line_from(top.y);
  const int32_t end = std::min(line_from(bottom.y), lines);
  if (first >= end || end <= 0) return;

  const float height = distance(top.y, bottom.y);
  const auto x_top = static_cast<float>(top.x), x_bottom = static_cast<float>(bottom.x);
  const float to_first = distance(top.y, first * 4096 + 2048);

  Edge& edge = edges_[static_cast<size_t>(count_++)];
  edge.first = first;
  edge.end = end;
  edge.x_step = distance(top.x, bottom.x) / height;
  edge.x = (to_first * edge.x_step + x_top) / kUnit;
  edge.x_top = x_top / kUnit;
  edge.x_left = std::min(x_top, x_bottom) / kUnit;
  edge.x_right = std::max(x_top, x_bottom) / kUnit;
  edge.ramps.step = (bottom.coordinates - top.coordinates) * kUnit / height;
  edge.ramps.at_0 = top.coordinates - static_cast<float>(top.y) * edge.ramps.step / kUnit;
  insert(edge);
}

void EdgeList::insert(Edge& edge) {
  Edge** link = &first_;
  while (*link != nullptr && (*link)->first < edge.first) link = &(*link)->next;
  edge.next = *link;
  *link = &edge;
}

void EdgeList::walk_to_picture() {
  for (int32_t i = 0; i < count_; ++i) {
    Edge& edge = edges_[static_cast<size_t>(i)];
    for (int32_t line = edge.first; line < 0; ++line) edge.x += edge.x_step;
  }
}

}  // namespace dorbmp::mapping
