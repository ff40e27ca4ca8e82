#include "dorbmp/mapping/polygon/filter_class.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "dorbmp/compiler.h"

namespace dorbmp::mapping {
namespace {

// A class begins at its ratio.
struct FilterClass {
  float from;
  float bias;
  int32_t margin;
};

constexpr FilterClass kHorizontal[] = {
    {0.0f, -32768.0f, 16},        // 1 texel
    {1.34f, -65536.0f, 65552},    // 2
    {2.01f, -98304.0f, 131088},   // 3
    {2.68f, -131072.0f, 196624},  // 4
    {5.36f, -262144.0f, 458768},  // 8
};

constexpr FilterClass kVertical[] = {
    {0.0f, -32768.0f, 16},        // 1 line
    {1.005f, -49152.0f, 32784},   // 1.5
    {1.34f, -65536.0f, 65552},    // 2
    {2.68f, -131072.0f, 196624},  // 4
};

// A ratio that is no number belongs to the first class.
template <size_t kCount>
int class_of(const FilterClass (&classes)[kCount], float ratio) {
  int found = 0;
  for (int i = 1; i < static_cast<int>(kCount); ++i) {
    if (ratio >= classes[i].from) found = i;
  }
  return found;
}

struct Vector {
  float x;
  float y;

  float length_squared() const { return x * x + y * y; }
  Vector normalised() const {
    const float length = std::sqrt(length_squared());
    return {x / length, y / length};
  }
};

struct MappedEdge {
  Vector screen;
  Vector texture;
};

// The first of the longest edges, horizontal ones among them.
MappedEdge longest_edge(const PolygonVertex* vertices, int32_t count) {
  MappedEdge longest = {};
  const PolygonVertex* previous = &vertices[count - 1];
  for (int32_t i = 0; i < count; previous = &vertices[i++]) {
    const PolygonVertex& vertex = vertices[i];
    const Vector screen = {vertex.x - previous->x, vertex.y - previous->y};
    if (screen.length_squared() > longest.screen.length_squared()) {
      longest = {screen, {vertex.u - previous->u, vertex.v - previous->v}};
    }
  }
  return longest;
}

}  // namespace

Minification minification(const PolygonVertex* vertices, int32_t count, float v_scale) {
  const MappedEdge edge = longest_edge(vertices, count);
  if (edge.texture.length_squared() == 0.0f) return {};
  const Vector s = edge.screen.normalised();
  const Vector t = edge.texture.normalised();
  const float a = t.x * s.x + t.y * s.y;
  const float b = t.x * s.y - t.y * s.x;

  // The texture's corner, turned, and its place on the screen.
  Float4 low = Float4{} + INFINITY, high = -low;
  for (int32_t i = 0; i < count; ++i) {
    const auto& [u, v, q, x, y] = vertices[i];
    const Float4 at = {a * u - b * v, a * v + b * u, x, y};
    low = at < low ? at : low;
    high = high < at ? at : high;
  }
  const Float4 size = high - low;
  return {size[0] / size[2], size[1] / size[3] * v_scale};
}

Filter choose_filter(Minification ratio, bool matte) {
  int across = class_of(kHorizontal, ratio.horizontal);
  const int down = class_of(kVertical, ratio.vertical);
  constexpr int kWidest = static_cast<int>(std::size(kHorizontal)) - 1;
  constexpr int kTallest = static_cast<int>(std::size(kVertical)) - 1;
  if (matte && across == kWidest && down == kTallest) across = kWidest - 1;
  const FilterClass& horizontal = kHorizontal[across];
  const FilterClass& vertical = kVertical[down];
  return {.slot = 1 + 5 * down + across,
          .u_bias = horizontal.bias,
          .v_bias = vertical.bias,
          .u_margin = horizontal.margin,
          .v_margin = vertical.margin};
}

}  // namespace dorbmp::mapping
