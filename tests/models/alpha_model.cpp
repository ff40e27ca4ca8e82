#include "models/alpha_model.h"

#include <algorithm>
#include <cmath>

namespace dorbmp::test {
namespace {

constexpr double kPi = 3.14159265358979323846;

bool has_room(Frame& plane) {
  return 2 * plane->width <= plane->pitch;
}

void combine(Frame& plane, int64_t x, int64_t y, int64_t value, uint32_t code) {
  const auto column = static_cast<int32_t>(x), line = static_cast<int32_t>(y);
  const int32_t old = plane.at<uint16_t>(column, line);
  const int64_t result = code == 0 ? old + value : std::max<int64_t>(old, value);
  plane.set(column, line, static_cast<uint16_t>(result));
}

int64_t units(float value) {
  return static_cast<int64_t>(std::clamp(value * 64.0f, -1e9f, 1e9f));
}

}  // namespace

void model_alpha_rect(Frame& plane, const RectShape& shape, uint32_t flags) {
  const uint32_t code = flags & 0x70;
  const float right = shape.x + shape.width, bottom = shape.y + shape.height;
  if (!has_room(plane) || code > 0x10 || std::isnan(right) || std::isnan(bottom)) return;
  const int64_t x0 = std::max<int64_t>(units(shape.x), 0), y0 = std::max<int64_t>(units(shape.y), 0);
  const int64_t x1 = std::min<int64_t>(units(right), plane->width * 64);
  const int64_t y1 = std::min<int64_t>(units(bottom), plane->height * 64);
  const int64_t left = x0 >> 6, left_full = (x0 + 63) >> 6, right_full = x1 >> 6, end = (x1 + 63) >> 6;
  const int64_t top_full = (y0 + 63) >> 6, bottom_full = y1 >> 6, last = (y1 + 63) >> 6;
  int64_t line = y0 >> 6;
  if (end <= left || last <= line) return;
  const int64_t step = (flags & 2) != 0 ? 2 : 1;
  if (step == 2 && ((line ^ flags) & 1) != 0) ++line;

  const auto draw = [&](int64_t lines, bool whole) {
    if (left < left_full) combine(plane, left, line, (64 - (x0 & 63)) * lines, code);
    for (int64_t x = left_full; x < right_full; ++x) {
      if (whole) {
        plane.set(static_cast<int32_t>(x), static_cast<int32_t>(line), uint16_t{4096});
      } else {
        combine(plane, x, line, 64 * lines, code);
      }
    }
    if (right_full < end) combine(plane, right_full, line, (x1 & 63) * lines, code);
    line += step;
  };
  if (line < top_full) draw(64 - (y0 & 63), false);
  while (line < bottom_full) draw(64, true);
  if (line < last) draw(y1 & 63, false);
}

double model_profile(double distance, uint32_t flags) {
  const double t = std::clamp(distance, 0.0, 1.0);
  return (flags & BMP_ALPHA_COSINE) != 0 ? (1 + std::cos(kPi * t)) / 2 : 1 - t;
}

namespace {

// One line of a disc: bounds in the order in which they are met, each with the rule of its span.
struct CircleLine {
  const CircleShape& shape;
  uint32_t flags;
  int32_t y;
  double cx, cy, aspect, radius, inner;

  CircleLine(const CircleShape& circle, uint32_t circle_flags, int32_t line)
      : shape(circle), flags(circle_flags), y(line), cx(shape.cx), cy(shape.cy), aspect(shape.aspect) {
    radius = shape.radius;
    if (shape.softness <= 0 && radius <= 0) radius = 0;
    inner = radius - shape.softness;
    if (!(inner > 0)) inner = 0;
  }

  double near_edge(int32_t centre) const {
    return y >= centre ? y * aspect - cy : (cy - aspect) - y * aspect;
  }
  double far_edge(int32_t centre) const { return y >= centre ? near_edge(centre) + aspect : cy - y * aspect; }

  int hard(int32_t x) const {
    int sum = 0;
    for (int j = 0; j < 4; ++j) {
      const double dy = y * aspect + aspect * 0.125 + aspect / 4 * j - cy;
      for (int i = 0; i < 4; ++i) {
        const double dx = x + 0.125 + 0.25 * i - cx;
        if (dx * dx <= radius * radius - dy * dy) sum += 256;
      }
    }
    return sum;
  }

  int band(double distance) const {
    const double n = (radius - distance) * (1024 / static_cast<double>(shape.softness)) + 0.5;
    const double depth = n >= 1024 ? 1024 : n > 0 ? std::trunc(n) : 0;
    return static_cast<int>(std::floor(4096 * model_profile(1 - depth / 1024, flags) + 0.5));
  }

  int centre(int32_t x) const {
    const double dx = x + 0.5 - cx, dy = y * aspect + aspect * 0.5 - cy;
    return band(std::sqrt(dx * dx + dy * dy));
  }

  int soft(int32_t x) const {
    int sum = 0;
    for (int j = 0; j < 2; ++j) {
      const double dy = y * aspect + aspect * 0.25 + aspect / 2 * j - cy;
      for (int i = 0; i < 2; ++i) {
        const double dx = x + 0.25 + 0.5 * i - cx;
        const double square = dx * dx + dy * dy;
        if (square > radius * radius) continue;
        sum += static_cast<float>(square) <= inner * inner ? 4096 : band(std::sqrt(square));
      }
    }
    return sum / 4;
  }
};

int32_t bound(double value, int32_t limit) {
  if (std::isnan(value) || value < 0) return 0;
  return value >= limit ? limit : static_cast<int32_t>(std::trunc(value));
}

}  // namespace

void model_alpha_circle(Frame& plane, const CircleShape& shape, uint32_t flags) {
  if (!has_room(plane)) return;
  const int32_t width = plane->width;
  for (int32_t y = static_cast<int32_t>(flags & 1); y < plane->height; y += (flags & 2) != 0 ? 2 : 1) {
    const CircleLine line(shape, flags, y);
    const double cx = line.cx, r = line.radius, ri = line.inner;
    const int32_t middle = bound(line.cy / line.aspect, plane->height);
    const double dn = line.near_edge(middle), df = line.far_edge(middle);
    // Columns of a circle: left end, first whole, last whole, right end.
    const auto columns = [&](double radius, int32_t out[4]) {
      const double h = std::sqrt(radius * radius - dn * dn), g = std::sqrt(radius * radius - df * df);
      const bool none = dn >= radius, whole = !none && df < radius;
      out[0] = none ? 0 : bound(cx - h, width);
      out[1] = whole ? bound(cx - g + 0.99999, width) : 0;
      out[2] = whole ? bound(cx + g, width) : 0;
      out[3] = none ? 0 : bound(cx + h + 0.99999, width);
    };
    int32_t a[4], b[4];
    columns(r, a);
    columns(ri, b);
    if (dn >= r) std::fill(b, b + 4, 0);

    struct Span {
      int32_t end;
      char rule;
    };
    const bool hard = shape.softness <= 0;
    const Span hard_spans[] = {{a[0], '0'}, {a[1], 'h'}, {a[2], '1'}, {a[3], 'h'}, {width, '0'}};
    const Span soft_spans[] = {{a[0], '0'}, {a[1], 's'}, {b[0], 'b'}, {b[1], 's'}, {b[2], '1'},
                               {b[3], 's'}, {a[2], 'b'}, {a[3], 's'}, {width, '0'}};
    const Span* span = hard ? hard_spans : soft_spans;
    for (int32_t x = 0; x < width; ++x) {
      while (x >= span->end) ++span;
      const char rule = span->rule;
      const int value = rule == '0'   ? 0
                        : rule == '1' ? 4096
                        : rule == 'h' ? line.hard(x)
                        : rule == 's' ? line.soft(x)
                                      : line.centre(x);
      plane.set(x, y, static_cast<uint16_t>(value));
    }
  }
}

namespace {

template <class Sample>
double supersampled(int32_t x, int32_t y, Sample sample) {
  double sum = 0;
  for (int j = 0; j < 64; ++j) {
    for (int i = 0; i < 64; ++i) sum += sample(x + (i + 0.5) / 64, y + (j + 0.5) / 64);
  }
  return sum;  // 64 * 64 samples of at most 1
}

}  // namespace

double model_rounded_mean(const RectShape& shape, int32_t x, int32_t y, uint32_t flags) {
  const double left = shape.x, top = shape.y, right = left + shape.width, bottom = top + shape.height;
  double rx = shape.radius_x, ry = shape.radius_y;
  const double shrink = std::min({1.0, shape.width / (2 * rx), shape.height / (2 * ry)});
  // The drawn shape lies on the 1/64 grid.
  rx = std::trunc(rx * shrink * 64) / 64, ry = std::trunc(ry * shrink * 64) / 64;
  return supersampled(x, y, [&](double px, double py) {
    if (px < left || px > right || py < top || py > bottom) return 0.0;
    const double dx = std::max({left + rx - px, px - (right - rx), 0.0}) / rx;
    const double dy = std::max({top + ry - py, py - (bottom - ry), 0.0}) / ry;
    const double distance = std::sqrt(dx * dx + dy * dy);
    if ((flags & BMP_ALPHA_HARD) != 0) return distance <= 1 ? 1.0 : 0.0;
    return model_profile(distance, flags);
  });
}

double model_circle_mean(const CircleShape& shape, int32_t x, int32_t y, uint32_t flags) {
  return supersampled(x, y, [&](double px, double py) {
    const double dy = py * shape.aspect - shape.cy;
    const double distance = std::sqrt((px - shape.cx) * (px - shape.cx) + dy * dy);
    if (shape.softness <= 0) return distance <= shape.radius ? 1.0 : 0.0;
    const double inner = std::max(shape.radius - shape.softness, 0.0f);
    // The band is measured from the outer radius.
    if (distance <= inner) return 1.0;
    return model_profile(1 - (shape.radius - distance) / shape.softness, flags);
  });
}

}  // namespace dorbmp::test
