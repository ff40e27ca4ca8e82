// Pictures that are stored lying on a side or mirrored, as cameras held upright write them.
#pragma once

#include "dorfx/av.h"
#include "dorfx/scaler.h"

namespace dorfx {

// How the shown picture lies on the stored one.
struct Orientation {
  bool sides_swapped = false;  // the shown columns are the stored lines
  bool mirrored_across = false, mirrored_down = false;
  bool is_upright() const { return !sides_swapped && !mirrored_across && !mirrored_down; }
};

// As the picture says or, where it says nothing, its stream; to the nearest quarter turn.
Orientation orientation_of(const AVFrame& picture, const AVStream& stream);

class Turner {
 public:
  // Replaces a picture by one that stands as it is to be seen. Its sample aspect is the caller's to turn.
  void turn(AVFrame& picture, const Orientation& orientation);

 private:
  Scaler scaler_;
};

}  // namespace dorfx
