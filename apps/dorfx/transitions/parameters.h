// What a transition can be told: names, defaults, and the values given.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "dorfx/values.h"

namespace dorfx {

// An empty default means: must be given, or is off; the meaning says which.
struct Parameter {
  const char* name;
  const char* value;
  const char* meaning;
};

// The values of one transition. The readers throw UsageError where a value does not fit.
class Parameters {
 public:
  // given: "softness" -> "0.2". Throws UsageError for a name that the transition does not have.
  Parameters(const std::string& transition, std::span<const Parameter> known,
             const std::map<std::string, std::string>& given);

  bool knows(const std::string& name) const { return values_.contains(name); }
  const std::string& text(const std::string& name) const { return values_.at(name); }
  bool has(const std::string& name) const { return !text(name).empty(); }
  bool flag(const std::string& name) const;
  int whole(const std::string& name, int low, int high) const;
  double number(const std::string& name, double low, double high) const;
  Colour colour(const std::string& name) const { return parse_colour(subject(name), text(name)); }
  Softness softness() const { return parse_softness(subject("softness"), text("softness")); }
  // Width 0 where none is given.
  Border border() const;
  // The place of the value among the choices.
  size_t choice(const std::string& name, std::span<const char* const> choices) const;

  std::string subject(const std::string& name) const { return transition_ + ": " + name; }

 private:
  std::string transition_;
  std::map<std::string, std::string> values_;
};

}  // namespace dorfx
