#include "models/polygon_model.h"

#include <algorithm>
#include <cmath>

#include "dorbmp/cpu/level.h"
#include "dorbmp/mapping/spans/tables.h"

namespace dorbmp::test {
namespace {

struct Line {
  float step, at_0;
  float at(float y) const { return step * y + at_0; }
};

struct EdgeModel {
  int32_t first, end;
  float x, x_step;
  Line u, v, q;
};

struct View {
  float scale = 1.0f, bias = 0.0f;
  int32_t height;
};

View view_of(Frame& texture, uint32_t flags) {
  if ((texture->field_mode & 2) == 0) return {.height = texture->height};
  return {0.5f, (flags & 1) != 0 ? -16384.0f : 16384.0f, texture->height / 2};
}

bool is_perspective(const PolygonCall& call) {
  if (call.matte != nullptr || call.texture->format == BMP_FORMAT_KEY8) return true;
  return std::any_of(call.vertices.begin(), call.vertices.end(),
                     [&](const PolygonVertex& v) { return v.q != call.vertices[0].q; });
}

std::vector<EdgeModel> edges_of(const PolygonCall& call, const View& view, bool perspective) {
  std::vector<EdgeModel> edges;
  for (size_t i = 0; i < call.vertices.size(); ++i) {
    PolygonVertex top = call.vertices[i];
    PolygonVertex bottom = call.vertices[(i + call.vertices.size() - 1) % call.vertices.size()];
    if (std::trunc(top.y * 4096.0f) > std::trunc(bottom.y * 4096.0f)) std::swap(top, bottom);
    const auto y_top = static_cast<int64_t>(top.y * 4096.0f);
    const auto y_bottom = static_cast<int64_t>(bottom.y * 4096.0f);
    const auto x_top = static_cast<int64_t>(top.x * 4096.0f);
    const auto x_bottom = static_cast<int64_t>(bottom.x * 4096.0f);
    const int64_t first = ((y_top + 2047) & ~4095) + 2048;
    const int64_t last = ((y_bottom + 2047) & ~4095) + 2048;
    if (first == last) continue;

    const float dy = static_cast<float>(y_bottom - y_top), y = static_cast<float>(y_top);
    const auto line = [&](float at_top, float at_bottom) {
      const float step = (at_bottom - at_top) * 4096.0f / dy;
      return Line{step, at_top - y * step / 4096.0f};
    };
    EdgeModel edge{.first = static_cast<int32_t>(first >> 12), .end = static_cast<int32_t>(last >> 12)};
    edge.x_step = static_cast<float>(x_bottom - x_top) / dy;
    edge.x = (static_cast<float>(first - y_top) * edge.x_step + static_cast<float>(x_top)) / 4096.0f;
    const float v = view.scale * 65536.0f;
    if (perspective) {
      edge.u = line(top.u * top.q * 65536.0f, bottom.u * bottom.q * 65536.0f);
      edge.v = line(top.v * top.q * v, bottom.v * bottom.q * v);
      edge.q = line(top.q, bottom.q);
    } else {
      edge.u = line(top.u * 65536.0f, bottom.u * 65536.0f);
      edge.v = line(top.v * v, bottom.v * v);
      edge.q = {0.0f, 1.0f};
    }
    edges.insert(edges.begin(), edge);
  }
  // Where crossings coincide, the edge that starts higher goes first; of equals, the polygon's later one.
  std::stable_sort(edges.begin(), edges.end(),
                   [](const EdgeModel& a, const EdgeModel& b) { return a.first < b.first; });
  return edges;
}

FilterModel filter_of(const PolygonCall& call, float v_scale) {
  if ((call.flags & BMP_MAP_NEAREST) != 0) return {};
  float longest = 0.0f, sx = 0.0f, sy = 0.0f, tx = 0.0f, ty = 0.0f;
  for (size_t i = 0; i < call.vertices.size(); ++i) {
    const PolygonVertex& b = call.vertices[i];
    const PolygonVertex& a = call.vertices[(i + call.vertices.size() - 1) % call.vertices.size()];
    const float dx = b.x - a.x, dy = b.y - a.y;
    if (dx * dx + dy * dy <= longest) continue;
    longest = dx * dx + dy * dy;
    sx = dx, sy = dy, tx = b.u - a.u, ty = b.v - a.v;
  }
  const float s = std::sqrt(sx * sx + sy * sy), t = std::sqrt(tx * tx + ty * ty);
  if (t == 0.0f) return filter_by_ratios(0.0f, 0.0f);
  const float a = tx / t * (sx / s) + ty / t * (sy / s), b = tx / t * (sy / s) - ty / t * (sx / s);
  std::vector<float> u, v, x, y;
  for (const PolygonVertex& p : call.vertices) {
    u.push_back(a * p.u - b * p.v);
    v.push_back(a * p.v + b * p.u);
    x.push_back(p.x);
    y.push_back(p.y);
  }
  const auto extent = [](const std::vector<float>& values) {
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return *high - *low;
  };
  return filter_by_ratios(extent(u) / extent(x), extent(v) / extent(y) * v_scale);
}

int32_t first_pixel_right_of(float x, int32_t width) {
  return std::clamp((2047 - static_cast<int32_t>(-4096.0f * x)) >> 12, 0, width);
}

// How a call's pixels come from its texture.
struct Texturing {
  const PolygonCall& call;
  View view;
  bool perspective;
  FilterModel filter;
  SpanModel model;
  Frame lines;

  Texturing(const PolygonCall& polygon, bool in_perspective)
      : call(polygon),
        view(view_of(call.texture, call.flags)),
        perspective(in_perspective),
        filter(filter_of(call, view.scale)),
        lines(lines_of(call, view)) {
    const uint32_t texture = call.texture->format;
    const bool is_matte = texture == BMP_FORMAT_KEY8;
    if (is_matte && filter.slot == 20) filter = filter_by_ratios(3.0f, 3.0f);
    model = {
        .texel = Texel::rgb32, .walk = perspective ? Walk::perspective : Walk::affine, .slot = filter.slot};
    if (texture == BMP_FORMAT_YUY2) model.texel = Texel::yuy2;
    if (texture == BMP_FORMAT_KEY16) model.texel = Texel::key16;
    if (is_matte) model.texel = call.dst->format == BMP_FORMAT_YUY2 ? Texel::matte_yuy2 : Texel::matte_rgb32;
    if (call.matte != nullptr && texture != BMP_FORMAT_KEY16) model.walk = Walk::depth;
    if (call.level >= kLevelMmxExt) take_mmx_arithmetic();
  }

  // Of the slots that have an MMX kernel with its own.
  void take_mmx_arithmetic() {
    const bool rgb32 = model.texel == Texel::rgb32 && spans::has(spans::mmxext::Rgb32Slots{}, model.slot);
    const bool key16 = model.texel == Texel::key16 && spans::has(spans::mmxext::Key16Slots{}, model.slot);
    if (rgb32 && model.walk != Walk::depth) model.quotient = Quotient::by_1365;
    if ((rgb32 || key16) && model.walk == Walk::affine) model.walk = Walk::adding;
  }

  // A field of a texture is a frame with every other line.
  static Frame lines_of(const PolygonCall& call, const View& view) {
    Random unused(0);
    const Bitmap& texture = call.texture.bitmap();
    Frame lines(texture.width, view.height, texture.format, unused,
                {.extra_pitch = texture.pitch - ((texture.width * texture.bytes_per_pixel + 15) & ~15)});
    for (int32_t j = 0; j < view.height; ++j) {
      const int32_t from = view.scale == 1.0f ? j : 2 * j + static_cast<int32_t>(call.flags & 1);
      std::memcpy(lines.row(j), call.texture.row(from), static_cast<size_t>(lines->pitch));
    }
    return lines;
  }

  // Pixels first to last of a line, with coordinates by pixel.
  void draw(int32_t y, int32_t first, int32_t last, const Line& u, const Line& v, const Line& q) {
    const float u_bias = filter.u_bias, v_bias = filter.v_bias + view.bias;
    const auto limit = [](int32_t size, float margin) {
      const double end = static_cast<double>(size - 1) * 65536.0 - static_cast<double>(margin);
      return std::max(static_cast<float>(end), 0.0f);
    };
    Frame* const matte = call.matte;
    draw_span(model,
              {.dst = call.dst,
               .y = y,
               .first = first,
               .last = last,
               .texture = lines,
               .duq = u.step,
               .dvq = v.step,
               .uq_start = perspective ? u.at_0 : u.at_0 + u_bias,
               .vq_start = perspective ? v.at_0 : v.at_0 + v_bias,
               .dq = q.step,
               .q_start = q.at_0,
               .u_bias = u_bias,
               .v_bias = v_bias,
               .u_max = limit(lines->width, filter.u_margin),
               .v_max = limit(lines->height, filter.v_margin),
               .depths = matte != nullptr ? static_cast<float*>(static_cast<void*>(matte->row(y))) : nullptr,
               .color = call.color});
  }
};

}  // namespace

FilterModel filter_by_ratios(float horizontal, float vertical) {
  const int h = (horizontal >= 1.34f) + (horizontal >= 2.01f) + (horizontal >= 2.68f) + (horizontal >= 5.36f);
  const int v = (vertical >= 1.005f) + (vertical >= 1.34f) + (vertical >= 2.68f);
  constexpr float kTexels[] = {1.0f, 2.0f, 3.0f, 4.0f, 8.0f}, kLines[] = {1.0f, 1.5f, 2.0f, 4.0f};
  return {1 + 5 * v + h, kTexels[h] * -32768.0f, kLines[v] * -32768.0f,
          (kTexels[h] - 1.0f) * 65536.0f + 16.0f, (kLines[v] - 1.0f) * 65536.0f + 16.0f};
}

void draw_polygon(const PolygonCall& call) {
  const bool perspective = is_perspective(call);
  Texturing texturing(call, perspective);
  const std::vector<EdgeModel> edges = edges_of(call, texturing.view, perspective);

  for (int32_t y = 0; y < call.dst->height; ++y) {
    if ((call.flags & 2) != 0 && (y & 1) != static_cast<int32_t>(call.flags & 1)) continue;
    std::vector<std::pair<float, const EdgeModel*>> crossings;
    for (const EdgeModel& edge : edges) {
      if (y < edge.first || y >= edge.end) continue;
      float x = edge.x;
      for (int32_t line = edge.first; line < y; ++line) x += edge.x_step;
      crossings.push_back({x, &edge});
    }
    std::stable_sort(crossings.begin(), crossings.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
      const auto& [xl, left] = crossings[i];
      const auto& [xr, right] = crossings[i + 1];
      const int32_t first = first_pixel_right_of(xl, call.dst->width);
      const int32_t end = first_pixel_right_of(xr, call.dst->width);
      if (first >= end) continue;
      for (int32_t x = first; call.cover != nullptr && x < end; ++x) {
        if ((*call.cover)->format == BMP_FORMAT_KEY8) {
          call.cover->set(x, y, uint8_t{0x80});
        } else {
          call.cover->set(x, y, uint16_t{0x1000});
        }
      }
      const float yc = static_cast<float>(y) + 0.5f;
      const auto across = [&, xl = xl, xr = xr](const Line& l, const Line& r) {
        const float step = (r.at(yc) - l.at(yc)) / (xr - xl);
        return Line{step, l.at(yc) - step * (xl - 0.5f)};
      };
      texturing.draw(y, first, end - 1, across(left->u, right->u), across(left->v, right->v),
                     across(left->q, right->q));
    }
  }
}

SmoothModel::SmoothModel(const PolygonCall& call, const TexturePlane& plane) : width_(call.dst->width) {
  coverage_.resize(static_cast<size_t>(width_ * call.dst->height));
  Texturing texturing(call, is_perspective(call));
  for (int32_t y = 0; y < call.dst->height; ++y) {
    if ((call.flags & 2) != 0 && (y & 1) != static_cast<int32_t>(call.flags & 1)) continue;
    int sampled = -1;
    for (const int sub_line : {0, 2, 1}) {
      const auto [left, right] = interval(call, 3 * y + sub_line);
      if (left > right) continue;
      if (sampled != 0 || sub_line == 1) sampled = sub_line;
      for (int32_t x = 0; x < width_; ++x) {
        const double overlap = std::min(right, x + 1.0) - std::max(left, static_cast<double>(x));
        coverage_[index(x, y)] += std::max(overlap, 0.0) / 3;
      }
    }
    if (sampled < 0) continue;
    // Where the sub-line's centre lies, in lines.
    const double line = y + (sampled + 0.5) / 3;
    const auto across = [&](const std::array<double, 3>& at, double scale) {
      return Line{static_cast<float>(at[0] * scale),
                  static_cast<float>((at[0] * 0.5 + at[1] * line + at[2]) * scale)};
    };
    const double lines = texturing.view.scale;
    texturing.draw(y, 0, width_ - 1, across(plane.uq, 65536.0), across(plane.vq, 65536.0 * lines),
                   across(plane.q, 1.0));
  }
}

// Between the two edges of a convex polygon that a sub-line crosses; left beyond right where it crosses none.
std::pair<double, double> SmoothModel::interval(const PolygonCall& call, int32_t sub_line) {
  double left = 1e9, right = -1e9;
  for (size_t i = 0; i < call.vertices.size(); ++i) {
    PolygonVertex top = call.vertices[i];
    PolygonVertex bottom = call.vertices[(i + call.vertices.size() - 1) % call.vertices.size()];
    if (top.y > bottom.y) std::swap(top, bottom);
    const auto units = [](float position, float scale) { return static_cast<int32_t>(position * scale); };
    const int32_t y_top = units(top.y, 12288.0f), y_bottom = units(bottom.y, 12288.0f);
    const int32_t first = (y_top + 2047) >> 12, end = (y_bottom + 2047) >> 12;
    if (sub_line < first || sub_line >= end) continue;
    const double x_top = units(top.x, 4096.0f) / 4096.0, x_bottom = units(bottom.x, 4096.0f) / 4096.0;
    const double step = (x_bottom - x_top) * 4096.0 / (y_bottom - y_top);
    const double x = std::clamp(x_top + (sub_line - first + 0.5) * step, std::min(x_top, x_bottom),
                                std::max(x_top, x_bottom));
    left = std::min(left, x);
    right = std::max(right, x);
  }
  return {left, right};
}

}  // namespace dorbmp::test
