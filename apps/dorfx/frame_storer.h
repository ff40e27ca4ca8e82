// Working frames to pictures for an encoder.
#pragma once

#include "dorfx/frame.h"
#include "dorfx/scaler.h"
#include "dorfx/stage.h"

namespace dorfx {

class FrameStorer {
 public:
  FrameStorer(const Stage& stage, AVPixelFormat format);

  // A picture of the caller's own, tagged with colours and field order.
  AvOwner<AVFrame> store(const Frame& frame);

 private:
  Stage stage_;
  AVPixelFormat format_;
  Scaler scaler_;
};

}  // namespace dorfx
