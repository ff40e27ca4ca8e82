#include "dorfx/easing.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "dorfx/errors.h"

namespace dorfx {
namespace {

struct Curve {
  const char* name;
  double x1, y1, x2, y2;
};
constexpr Curve kCurves[] = {
    {"ease", 0.25, 0.1, 0.25, 1},
    {"ease-in", 0.42, 0, 1, 1},
    {"ease-out", 0, 0, 0.58, 1},
    {"ease-in-out", 0.42, 0, 0.58, 1},
};

// One coordinate of the curve with ends 0 and 1.
double bezier(double p1, double p2, double t) {
  const double s = 1 - t;
  return 3 * s * s * t * p1 + 3 * s * t * t * p2 + t * t * t;
}

}  // namespace

Easing::Easing(const std::string& text) {
  if (text == "linear") return;
  if (text == "step-start" || text == "step-end") {
    kind_ = text == "step-start" ? Kind::kStepStart : Kind::kStepEnd;
    return;
  }
  kind_ = Kind::kBezier;
  for (const Curve& curve : kCurves) {
    if (text != curve.name) continue;
    x1_ = curve.x1, y1_ = curve.y1, x2_ = curve.x2, y2_ = curve.y2;
    return;
  }
  int read = 0;
  const int fields =
      std::sscanf(text.c_str(), "cubic-bezier(%lf ,%lf ,%lf ,%lf )%n", &x1_, &y1_, &x2_, &y2_, &read);
  const bool in_range = x1_ >= 0 && x1_ <= 1 && x2_ >= 0 && x2_ <= 1 && y1_ == y1_ && y2_ == y2_;
  if (fields != 4 || static_cast<size_t>(read) != text.size() || !in_range) {
    throw UsageError("--easing", "'" + text + "' is no easing",
                     "write linear, ease, ease-in, ease-out, ease-in-out, step-start, step-end or "
                     "cubic-bezier(x1,y1,x2,y2) with x1 and x2 from 0 to 1");
  }
}

double Easing::operator()(double time) const {
  if (!(time > 0)) return 0;
  if (time >= 1) return 1;
  if (kind_ == Kind::kLinear) return time;
  if (kind_ != Kind::kBezier) return kind_ == Kind::kStepStart ? 1 : 0;
  // x rises with t, so bisection finds the t of this time; 52 halvings exhaust the mantissa.
  double low = 0, high = 1;
  for (int i = 0; i < 52; ++i) {
    const double middle = (low + high) / 2;
    (bezier(x1_, x2_, middle) < time ? low : high) = middle;
  }
  return std::clamp(bezier(y1_, y2_, low), 0.0, 1.0);
}

}  // namespace dorfx
