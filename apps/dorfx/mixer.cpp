#include "dorfx/mixer.h"

namespace dorfx {

Mixer::Mixer(const Stage& stage, std::unique_ptr<Transition> transition, const Easing& easing, bool reverse)
    : order_(stage.order),
      transition_(std::move(transition)),
      easing_(easing),
      reverse_(reverse),
      out_(stage.width, stage.height, stage.format) {}

const Frame& Mixer::render(const Frame& from, const Frame& to, const Timeline& timeline,
                           int64_t since_start) {
  for (const FieldPass& pass : field_passes(order_)) {
    render_lines(from, to, easing_(timeline.progress(since_start, pass.delay)), pass.flags);
  }
  return out_;
}

void Mixer::render_lines(const Frame& from, const Frame& to, double progress, uint32_t fields) {
  if (progress <= 0 || progress >= 1) {
    bmp_copy(out_.bitmap(), (progress <= 0 ? from : to).bitmap(), fields);
  } else if (reverse_) {
    transition_->render({out_.bitmap(), to.bitmap(), from.bitmap()}, 1 - progress, fields);
  } else {
    transition_->render({out_.bitmap(), from.bitmap(), to.bitmap()}, progress, fields);
  }
}

}  // namespace dorfx
