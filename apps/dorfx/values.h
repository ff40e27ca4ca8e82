// Values as they stand on the command line: times, colours, lengths, NAME:key=value.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace dorfx {

// Every parser throws UsageError with `subject` (an option or parameter) named first.

struct Rate {
  int num = 25;
  int den = 1;
  double per_second() const { return static_cast<double>(num) / den; }
  bool operator==(const Rate& other) const { return int64_t{num} * other.den == int64_t{other.num} * den; }
};
std::string to_string(Rate rate);
// 25, 30000/1001, or the broadcast rates' short forms: 29.97 is 30000/1001.
Rate parse_rate(const std::string& subject, const std::string& text);

// Seconds ("1.5", "00:00:01.5") or a number of frames ("38f").
struct TimeValue {
  double seconds = 0;
  std::optional<int64_t> frames;
  int64_t in_frames(Rate rate) const;
};
TimeValue parse_time(const std::string& subject, const std::string& text);

struct Colour {
  uint8_t red = 0, green = 0, blue = 0;
  bool operator==(const Colour&) const = default;
};
Colour parse_colour(const std::string& subject, const std::string& text);

// The width of a soft edge: a share of the transition's range, or pixels.
struct Softness {
  double value = 0;
  bool in_pixels = false;
};
Softness parse_softness(const std::string& subject, const std::string& text);

// "W:COLOUR", W in pixels.
struct Border {
  double width = 0;
  Colour colour;
};
Border parse_border(const std::string& subject, const std::string& text);

// From low to high, both included.
int parse_whole(const std::string& subject, const std::string& text, int low, int high);
double parse_number(const std::string& subject, const std::string& text, double low, double high);

struct Size {
  int width = 0;
  int height = 0;
};
Size parse_size(const std::string& subject, const std::string& text);

// NAME[:key=value...]. A piece without '=' belongs to the value before it, so values may hold colons.
struct NamedValues {
  std::string name;
  std::map<std::string, std::string> values;
};
NamedValues parse_named_values(const std::string& subject, const std::string& text);

std::string join(const std::vector<std::string>& words, const std::string& between);

}  // namespace dorfx
