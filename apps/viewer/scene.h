// A transition between two pictures, drawn by the library at any size.
#pragma once

#include "dorbmp.h"

namespace viewer {

class Scene {
 public:
  static constexpr int kSteps = 4096;  // of progress

  Scene(int width, int height);
  ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  int width() const { return frame_->width; }
  int height() const { return frame_->height; }

  // The frame at a progress of 0 to kSteps: a soft disc of the second picture grows over the first one. The
  // scene keeps the frame.
  Bitmap* render(int progress);

 private:
  void draw_pictures();

  Bitmap* from_;
  Bitmap* to_;
  Bitmap* key_;
  Bitmap* frame_;
};

}  // namespace viewer
