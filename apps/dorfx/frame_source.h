// Pictures in order of time, from a file or drawn.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "dorfx/av.h"
#include "dorfx/stage.h"

namespace dorfx {

struct VideoInfo {
  std::string name;
  int width = 0, height = 0;
  AVRational sample_aspect{1, 1};
  Rate rate;
  bool variable_rate = false;
  bool has_file = false;          // not drawn
  bool still = false;             // one picture, for as long as need be
  std::optional<double> seconds;  // unknown for a pipe
  double first_time = 0;  // of the first picture, seconds on the file's clock: where its sound starts too
  std::optional<FieldOrder> order;  // where the file says
  ColourSpace colours;
  int bits = 8;      // of a sample
  bool rgb = false;  // then `colours` is what it would become in YUV
};

class FrameSource {
 public:
  virtual ~FrameSource() = default;
  virtual const VideoInfo& info() const = 0;
  // Replaces `picture` by the next one and tells its time, 0 for the first. False at the end.
  virtual bool next(AVFrame& picture, double& seconds) = 0;
};

// A file, "-" for standard input, or "test:KIND[:key=value...]".
std::unique_ptr<FrameSource> open_source(const std::string& name);

}  // namespace dorfx
