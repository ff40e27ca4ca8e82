#include "dorfx/fit.h"

#include <algorithm>
#include <cmath>

namespace dorfx {
namespace {

int even(double value) {
  return static_cast<int>(std::lround(value / 2)) * 2;
}

// Sides that are no different from the frame's must not become so by rounding.
int side(double wanted, int frame_side) {
  const int rounded = std::max(2, even(wanted));
  return std::abs(rounded - frame_side) <= 1 ? frame_side : rounded;
}

}  // namespace

Placement place(const PictureShape& picture, const PictureShape& frame, Fit fit) {
  if (fit == Fit::kScale || fit == Fit::kError) return {.width = frame.width, .height = frame.height};

  // The picture's natural width in frame pixels at the frame's height.
  const double shape = av_q2d(picture.sample_aspect) * picture.width / picture.height;
  const double at_full_height = shape * frame.height / av_q2d(frame.sample_aspect);
  const double shrink = std::min(1.0, frame.width / at_full_height);  // pad: both sides inside
  const double grow = std::max(1.0, frame.width / at_full_height);    // crop: both sides covered
  const double scale = fit == Fit::kPad ? shrink : grow;

  Placement placed;
  placed.width = std::min(side(at_full_height * scale, frame.width), 32766);
  placed.height = std::min(side(frame.height * scale, frame.height), 32766);
  if (fit == Fit::kPad) {
    placed.x = std::max(0, (frame.width - placed.width) / 4 * 2);
    placed.y = std::max(0, (frame.height - placed.height) / 4 * 2);
  } else {
    placed.width = std::max(placed.width, frame.width);
    placed.height = std::max(placed.height, frame.height);
    placed.crop_x = (placed.width - frame.width) / 4 * 2;
    placed.crop_y = (placed.height - frame.height) / 4 * 2;
  }
  return placed;
}

}  // namespace dorfx
