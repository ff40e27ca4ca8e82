// The command line.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "dorbmp.h"
#include "dorfx/easing.h"
#include "dorfx/fit.h"
#include "dorfx/log.h"
#include "dorfx/output_file.h"
#include "dorfx/stage.h"
#include "dorfx/values.h"

namespace dorfx {

struct Options {
  std::vector<std::string> clips;
  std::string output;  // empty: only a contact sheet is made
  std::string transition = "fade";
  std::map<std::string, std::string> parameters;  // of the transition
  TimeValue duration{1, {}};
  std::optional<TimeValue> offset;
  Easing easing;
  bool reverse = false;
  Colour background;
  std::optional<FieldOrder> field_order;  // none: taken from the clips
  PixelFormat format = BMP_FORMAT_YUY2;
  Fit fit = Fit::kScale;
  std::optional<Rate> rate;
  TimeValue still{3, {}};
  bool audio = true;
  std::string codec, pixel_format;
  std::string sheet;
  int sheet_frames = 12;
  std::optional<int> level;
  std::string progress;
  Overwrite overwrite = Overwrite::kAsk;
  LogLevel log_level = LogLevel::kInfo;
};

// Throws UsageError. Nothing where the command line asked for a text (--help, --list, --version), which is
// printed.
std::optional<Options> parse_options(int argc, const char* const* argv);

}  // namespace dorfx
