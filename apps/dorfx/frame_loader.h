// Decoded pictures to working frames.
#pragma once

#include <optional>

#include "dorfx/fit.h"
#include "dorfx/frame.h"
#include "dorfx/scaler.h"
#include "dorfx/stage.h"

namespace dorfx {

class FrameLoader {
 public:
  // order: that of the clip's fields. A clip of the opposite order moves by one line, so that each field
  // keeps its instant.
  FrameLoader(const Stage& stage, Fit fit, FieldOrder order);

  // Sizes, converts and lays the picture; transparent parts show the background. Alpha is straight.
  void load(const AVFrame& picture, Frame& to);

 private:
  const AVFrame& to_working_samples(const AVFrame& picture, const Placement& placed, bool has_alpha);
  void lay(const AVFrame& picture, const Placement& placed, Frame& to) const;
  void show_background(const AVFrame& picture, const Placement& placed, Frame& to);
  int line_of(const AVFrame& picture, int line) const;

  Stage stage_;
  Fit fit_;
  bool by_field_;
  int line_shift_;
  Scaler scaler_;
  std::optional<Frame> alpha_;
};

}  // namespace dorfx
