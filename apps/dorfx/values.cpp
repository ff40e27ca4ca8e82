#include "dorfx/values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "dorfx/av.h"
#include "dorfx/errors.h"

extern "C" {
#include <libavutil/parseutils.h>
}

namespace dorfx {
namespace {

// No clip is as long as this; larger numbers are slips, and would not fit a count of frames.
constexpr double kLongestTime = 1e7;

std::optional<double> decimal(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) return {};
  return value;
}

std::optional<int64_t> whole(std::string_view text) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return {};
  return value;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> pieces{""};
  for (const char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

// [[hours:]minutes:]seconds
std::optional<double> clock_time(const std::string& text) {
  const std::vector<std::string> pieces = split(text, ':');
  if (pieces.size() > 3) return {};
  double seconds = 0;
  for (size_t i = 0; i < pieces.size(); ++i) {
    const bool last = i + 1 == pieces.size();
    const std::optional<double> part = decimal(pieces[i]);
    if (!part || *part < 0 || (!last && !whole(pieces[i])) || (i > 0 && *part >= 60)) return {};
    seconds = seconds * 60 + *part;
  }
  return seconds;
}

// 29.97 and its like are short for 30000/1001.
std::optional<Rate> broadcast_rate(double written) {
  for (const int nominal : {24, 30, 48, 60, 72, 90, 96, 120, 240}) {
    if (std::fabs(written - nominal / 1.001) < 0.005) return Rate{nominal * 1000, 1001};
  }
  return {};
}

}  // namespace

std::string to_string(Rate rate) {
  char text[40];
  if (rate.den == 1) {
    std::snprintf(text, sizeof text, "%d fps", rate.num);
  } else {
    std::snprintf(text, sizeof text, "%.3f fps", rate.per_second());
  }
  return text;
}

Rate parse_rate(const std::string& subject, const std::string& text) {
  AVRational rate{};
  const bool is_word = text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0;
  if (is_word || av_parse_video_rate(&rate, text.c_str()) < 0 || av_q2d(rate) > 1000) {
    throw UsageError(subject, "'" + text + "' is no frame rate", "write 25, 29.97 or 30000/1001");
  }
  if (const std::optional<double> written = decimal(text)) {
    if (const std::optional<Rate> broadcast = broadcast_rate(*written)) return *broadcast;
  }
  return {rate.num, rate.den};
}

int64_t TimeValue::in_frames(Rate rate) const {
  return frames ? *frames : std::llround(seconds * rate.per_second());
}

TimeValue parse_time(const std::string& subject, const std::string& text) {
  TimeValue time;
  if (text.size() > 1 && text.back() == 'f') {
    time.frames = whole(std::string_view(text).substr(0, text.size() - 1));
    if (time.frames && *time.frames >= 0 && *time.frames < 1000 * kLongestTime) return time;
  } else if (const std::optional<double> seconds = clock_time(text); seconds && *seconds < kLongestTime) {
    time.seconds = *seconds;
    return time;
  }
  throw UsageError(subject, "'" + text + "' is no time", "write 1.5, 00:00:01.5 or 38f");
}

Colour parse_colour(const std::string& subject, const std::string& text) {
  const bool is_hex =
      text.size() == 7 && text[0] == '#' &&
      std::all_of(text.begin() + 1, text.end(), [](unsigned char c) { return std::isxdigit(c); });
  const bool is_word =
      !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalpha(c); });
  uint8_t rgba[4];
  // "random" would make the same command give another picture each time.
  if ((is_hex || (is_word && text != "random")) && av_parse_color(rgba, text.c_str(), -1, nullptr) >= 0) {
    return {rgba[0], rgba[1], rgba[2]};
  }
  throw UsageError(subject, "'" + text + "' is no colour", "write a name such as white, or #RRGGBB");
}

Softness parse_softness(const std::string& subject, const std::string& text) {
  const bool in_pixels = text.size() > 2 && text.ends_with("px");
  const std::optional<double> value =
      decimal(std::string_view(text).substr(0, text.size() - (in_pixels ? 2 : 0)));
  if (!value || *value < 0 || *value > (in_pixels ? 32767 : 1)) {
    throw UsageError(subject, "'" + text + "' is no softness", "write 0 to 1, or pixels such as 12px");
  }
  return {*value, in_pixels};
}

Border parse_border(const std::string& subject, const std::string& text) {
  const size_t colon = text.find(':');
  std::string width_text = text.substr(0, colon);
  if (width_text.ends_with("px")) width_text.resize(width_text.size() - 2);
  const std::optional<double> width = decimal(width_text);
  if (colon == std::string::npos || !width || *width < 0 || *width > 32767) {
    throw UsageError(subject, "'" + text + "' is no border", "write WIDTH:COLOUR, such as 8:white");
  }
  return {*width, parse_colour(subject, text.substr(colon + 1))};
}

int parse_whole(const std::string& subject, const std::string& text, int low, int high) {
  const std::optional<int64_t> value = whole(text);
  if (value && *value >= low && *value <= high) return static_cast<int>(*value);
  throw UsageError(subject, "'" + text + "' is out of range or no whole number",
                   "write a whole number from " + std::to_string(low) + " to " + std::to_string(high));
}

double parse_number(const std::string& subject, const std::string& text, double low, double high) {
  const std::optional<double> value = decimal(text);
  if (value && *value >= low && *value <= high) return *value;
  char range[64];
  std::snprintf(range, sizeof range, "write a number from %g to %g", low, high);
  throw UsageError(subject, "'" + text + "' is out of range or no number", range);
}

Size parse_size(const std::string& subject, const std::string& text) {
  const std::vector<std::string> sides = split(text, 'x');
  if (sides.size() == 2) {
    const auto width = whole(sides[0]), height = whole(sides[1]);
    if (width && height && *width > 0 && *height > 0 && *width <= 16384 && *height <= 16384) {
      return {static_cast<int>(*width), static_cast<int>(*height)};
    }
  }
  throw UsageError(subject, "'" + text + "' is no size", "write WIDTHxHEIGHT, such as 720x576");
}

NamedValues parse_named_values(const std::string& subject, const std::string& text) {
  const std::vector<std::string> pieces = split(text, ':');
  NamedValues result{pieces[0], {}};
  std::string key;
  for (size_t i = 1; i < pieces.size(); ++i) {
    const size_t equals = pieces[i].find('=');
    if (equals != std::string::npos && equals > 0) {
      key = pieces[i].substr(0, equals);
      if (!result.values.emplace(key, pieces[i].substr(equals + 1)).second) {
        throw UsageError(subject, "'" + key + "' is given twice", "give it once");
      }
    } else if (!key.empty()) {
      result.values[key] += ':' + pieces[i];
    } else {
      const std::string reason =
          pieces[i].empty() ? "nothing after ':'" : "'" + pieces[i] + "' is no key=value";
      throw UsageError(subject, reason, "write NAME:key=value, or NAME alone");
    }
  }
  return result;
}

std::string join(const std::vector<std::string>& words, const std::string& between) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : between) + word;
  return all;
}

}  // namespace dorfx
