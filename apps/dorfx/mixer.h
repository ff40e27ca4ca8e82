// One frame of a transition, each field at its own instant.
#pragma once

#include "dorfx/easing.h"
#include "dorfx/frame.h"
#include "dorfx/timeline.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {

class Mixer {
 public:
  Mixer(const Stage& stage, std::unique_ptr<Transition> transition, const Easing& easing, bool reverse);

  // The frame `since_start` frames after a joint's start. A field whose eased progress is 0 or 1 is a copy
  // of the first or the second picture. Holds until the next call.
  const Frame& render(const Frame& from, const Frame& to, const Timeline& timeline, int64_t since_start);

 private:
  void render_lines(const Frame& from, const Frame& to, double progress, uint32_t fields);

  FieldOrder order_;
  std::unique_ptr<Transition> transition_;
  Easing easing_;
  bool reverse_;
  Frame out_;
};

}  // namespace dorfx
