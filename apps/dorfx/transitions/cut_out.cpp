#include "dorfx/transitions/cut_out.h"

#include <algorithm>
#include <cmath>

namespace dorfx {
namespace {

// Of the whole time, at either end.
constexpr double kFading = 0.2;

uint16_t* keys(Frame& frame, int y) {
  return reinterpret_cast<uint16_t*>(frame.row(y));
}

}  // namespace

CutOut::CutOut(const Pattern& shape)
    : shape_(shape.width, shape.height, BMP_FORMAT_KEY16), key_(shape.width, shape.height, BMP_FORMAT_KEY16) {
  for (int y = 0; y < shape.height; ++y) {
    for (int x = 0; x < shape.width; ++x) {
      keys(shape_, y)[x] = static_cast<uint16_t>(std::lround(shape.at(x, y) * 4096));
    }
  }
}

const Bitmap* CutOut::at(double progress, uint32_t fields) {
  const double share = std::min({1.0, progress / kFading, (1 - progress) / kFading});
  const int32_t gone = static_cast<int32_t>(std::lround(share * 4096));
  const int step = (fields & BMP_FIELD_ONLY) != 0 ? 2 : 1;
  for (int y = static_cast<int>(fields & BMP_FIELD_ODD); y < shape_.height(); y += step) {
    const uint16_t* from = keys(shape_, y);
    uint16_t* to = keys(key_, y);
    for (int x = 0; x < shape_.width(); ++x) {
      to[x] = static_cast<uint16_t>(4096 - ((4096 - from[x]) * gone + 2048) / 4096);
    }
  }
  return key_.bitmap();
}

}  // namespace dorfx
