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

// A coordinate with the given values at both ends, by line.
Ramp along(float top, float bottom, float y_top, float height) {
  const float step = (bottom - top) * kUnit / height;
  return {step, top - y_top * step / kUnit};
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
  const bool downward = quantised(from.y, y_units) <= quantised(to.y, y_units);
  const PolygonVertex& top = downward ? from : to;
  const PolygonVertex& bottom = downward ? to : from;
  const int32_t y_top = quantised(top.y, y_units);
  const int32_t y_bottom = quantised(bottom.y, y_units);

  // No line is numbered higher than this, and the product cannot overflow.
  const int32_t lines = std::min(setup.height, 1 << 20) * setup.lines_per_line;
  const int32_t first = line_from(y_top);
  const int32_t end = std::min(line_from(y_bottom), lines);
  if (first >= end || end <= 0) return;

  const int32_t x_top = quantised(top.x, kUnit);
  const int32_t x_bottom = quantised(bottom.x, kUnit);
  const float height = distance(y_top, y_bottom);
  const float y = static_cast<float>(y_top);

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

  const float v_texel = kTexel * setup.v_scale;
  if (setup.perspective) {
    edge.u = along(top.u * top.q * kTexel, bottom.u * bottom.q * kTexel, y, height);
    edge.v = along(top.v * top.q * v_texel, bottom.v * bottom.q * v_texel, y, height);
    edge.q = along(top.q, bottom.q, y, height);
  } else {
    edge.u = along(top.u * kTexel, bottom.u * kTexel, y, height);
    edge.v = along(top.v * v_texel, bottom.v * v_texel, y, height);
    edge.q = {0.0f, 1.0f};
  }
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
