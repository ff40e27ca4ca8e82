// A grey picture as numbers from 0 to 1.
#pragma once

#include <cstddef>
#include <vector>

namespace dorfx {

struct Pattern {
  int width = 0, height = 0;
  std::vector<float> values;  // row by row

  float at(int x, int y) const {
    return values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
};

}  // namespace dorfx
