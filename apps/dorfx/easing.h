// How progress runs through a transition's time.
#pragma once

#include <string>

namespace dorfx {

// A CSS timing curve through (0, 0) and (1, 1).
class Easing {
 public:
  Easing() = default;  // linear
  // linear, ease, ease-in, ease-out, ease-in-out, step-start, step-end, cubic-bezier(x1,y1,x2,y2).
  // Throws UsageError.
  explicit Easing(const std::string& text);

  // 0 at 0 and before, 1 at 1 and after; overshoot is cut off.
  double operator()(double time) const;

 private:
  double x1_ = 0, y1_ = 0, x2_ = 1, y2_ = 1;
  enum class Kind { kLinear, kBezier, kStepStart, kStepEnd } kind_ = Kind::kLinear;
};

}  // namespace dorfx
