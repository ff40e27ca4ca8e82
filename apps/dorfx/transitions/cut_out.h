// A key that cuts pictures out while they move: around its shape they fade away when they start, and come
// back before they are at rest.
#pragma once

#include "dorfx/frame.h"
#include "dorfx/pattern.h"

namespace dorfx {

class CutOut {
 public:
  // 0 to 1, of the frame's size: 1 stays.
  explicit CutOut(const Pattern& shape);

  // The key at a time, on the lines that FieldFlags choose.
  const Bitmap* at(double progress, uint32_t fields);

 private:
  Frame shape_, key_;
};

}  // namespace dorfx
