// A picture as the library's mapping reads it.
#pragma once

#include "dorbmp.h"

namespace dorfx {

// Without the frame's spare columns; where one field is drawn, that field of the picture alone. Coordinates
// stay those of the whole frame.
inline Bitmap picture_view(const Bitmap& picture, int width, uint32_t fields) {
  Bitmap view = picture;
  view.width = width;
  view.field_mode |= fields & BMP_FIELD_ONLY;
  // A field's lines are counted as half of the frame's; of an odd number the even field has one more.
  if (fields == BMP_FIELD_ONLY) view.height += picture.height & 1;
  return view;
}

}  // namespace dorfx
