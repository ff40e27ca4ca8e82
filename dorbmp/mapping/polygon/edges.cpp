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

// Texture coordinates of a vertex.
struct Corner {
  float at[Ramps::kCount];

  Corner(const PolygonVertex& vertex, const EdgeSetup& setup) {
    const float v_texel = kTexel * setup.v_scale;
    at[Ramps::kU] = setup.perspective ? vertex.u * vertex.q * kTexel : vertex.u * kTexel;
    at[Ramps::kV] = setup.perspective ? vertex.v * vertex.q * v_texel : vertex.v * v_texel;
    at[Ramps::kQ] = setup.perspective ? vertex.q : 1.0f;
    at[Ramps::kQ + 1] = 0.0f;
  }
};

Ramps along(const Corner& top, const Corner& bottom, float y_top, float height) {
  Ramps ramps;
  for (int i = 0; i < Ramps::kCount; ++i) {
    ramps.step[i] = (bottom.at[i] - top.at[i]) * kUnit / height;
    ramps.at_0[i] = top.at[i] - y_top * ramps.step[i] / kUnit;
  }
  return ramps;
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

EdgeList::EdgeList(const PolygonVertex* vertices, int32_t count, const EdgeSetup& setup) {
  const PolygonVertex* previous = &vertices[count - 1];
  for (int32_t i = 0; i < count; previous = &vertices[i++]) add(*previous, vertices[i], setup);
}

void EdgeList::add(const PolygonVertex& from, const PolygonVertex& to, const EdgeSetup& setup) {
  const float y_units = kUnit * static_cast<float>(setup.lines_per_line);
  const int32_t y_from = quantised(from.y, y_units), y_to = quantised(to.y, y_units);
  const bool downward = y_from <= y_to;
  const PolygonVertex& top = downward ? from : to;
  const PolygonVertex& bottom = downward ? to : from;
  const int32_t y_top = std::min(y_from, y_to), y_bottom = std::max(y_from, y_to);

  // No line is numbered higher than this, and the product cannot overflow.
  const int32_t lines = std::min(setup.height, 1 << 20) * setup.lines_per_line;
  const int32_t first = line_from(y_top);
  const int32_t end = std::min(line_from(y_bottom), lines);
  if (first >= end || end <= 0) return;

  const int32_t x_top = quantised(top.x, kUnit);
  const int32_t x_bottom = quantised(bottom.x, kUnit);
  const float height = distance(y_top, y_bottom);

  Edge& edge = edges_[static_cast<size_t>(count_++)];
  edge.first = first;
  edge.end = end;
  edge.x_step = distance(x_top, x_bottom) / height;
  const float to_first = distance(y_top, first * 4096 + 2048);
  edge.x = (to_first * edge.x_step + static_cast<float>(x_top)) / kUnit;
  edge.x_top = static_cast<float>(x_top) / kUnit;
  const float x_at_bottom = static_cast<float>(x_bottom) / kUnit;
  edge.x_left = std::min(edge.x_top, x_at_bottom);
  edge.x_right = std::max(edge.x_top, x_at_bottom);

  edge.ramps = along(Corner(top, setup), Corner(bottom, setup), static_cast<float>(y_top), height);
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
