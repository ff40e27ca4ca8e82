// A clip brought to the stage: its pictures as working frames at the stage's rate.
#pragma once

#include <memory>

#include "dorfx/fit.h"
#include "dorfx/frame.h"
#include "dorfx/frame_loader.h"
#include "dorfx/frame_source.h"

namespace dorfx {

class Clip {
 public:
  // order: how the clip's fields are taken.
  Clip(std::unique_ptr<FrameSource> source, const Stage& stage, Fit fit, FieldOrder order);

  // Frame `index`, which never goes back from call to call: the last picture whose time, rounded to frames,
  // is not after it. Beyond the end the last one stays. Holds until the next call.
  const Frame& at(int64_t index);

 private:
  void fetch();

  std::unique_ptr<FrameSource> source_;
  Rate rate_;
  FrameLoader loader_;
  Frame frame_;
  AvOwner<AVFrame> current_ = make_frame(), pending_ = make_frame();
  int64_t pending_slot_ = 0;
  bool has_pending_ = false;
};

}  // namespace dorfx
