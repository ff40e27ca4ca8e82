#include "dorfx/clip.h"

#include <cmath>

namespace dorfx {

Clip::Clip(std::unique_ptr<FrameSource> source, const Stage& stage, Fit fit, FieldOrder order)
    : source_(std::move(source)),
      rate_(stage.rate),
      loader_(stage, fit, order),
      frame_(stage.width, stage.height, stage.format) {
  fetch();
  pending_slot_ = 0;
}

void Clip::fetch() {
  double seconds = 0;
  has_pending_ = source_->next(*pending_, seconds);
  pending_->sample_aspect_ratio = source_->info().sample_aspect;
  pending_slot_ = std::llround(seconds * rate_.per_second());
}

const Frame& Clip::at(int64_t index) {
  bool moved = false;
  while (has_pending_ && pending_slot_ <= index) {
    av_frame_unref(current_.get());
    av_frame_move_ref(current_.get(), pending_.get());
    moved = true;
    fetch();
  }
  if (moved) loader_.load(*current_, frame_);
  return frame_;
}

}  // namespace dorfx
