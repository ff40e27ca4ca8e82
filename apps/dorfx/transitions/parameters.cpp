#include "dorfx/transitions/parameters.h"

#include <algorithm>

#include "dorfx/errors.h"

namespace dorfx {

Parameters::Parameters(const std::string& transition, std::span<const Parameter> known,
                       const std::map<std::string, std::string>& given)
    : transition_(transition) {
  std::vector<std::string> names;
  for (const Parameter& parameter : known) {
    values_[parameter.name] = parameter.value;
    names.emplace_back(parameter.name);
  }
  for (const auto& [name, value] : given) {
    if (!values_.contains(name)) {
      throw UsageError("transition " + transition, "has no " + name,
                       names.empty() ? "it takes no parameters" : "it takes " + join(names, ", "));
    }
    values_[name] = value;
  }
}

bool Parameters::flag(const std::string& name) const {
  static constexpr const char* kChoices[] = {"0", "1"};
  return choice(name, kChoices) == 1;
}

int Parameters::whole(const std::string& name, int low, int high) const {
  return parse_whole(subject(name), text(name), low, high);
}

double Parameters::number(const std::string& name, double low, double high) const {
  return parse_number(subject(name), text(name), low, high);
}

Border Parameters::border() const {
  return has("border") ? parse_border(subject("border"), text("border")) : Border{};
}

size_t Parameters::choice(const std::string& name, std::span<const char* const> choices) const {
  const auto found = std::find(choices.begin(), choices.end(), text(name));
  if (found == choices.end()) {
    const std::vector<std::string> names(choices.begin(), choices.end());
    throw UsageError(subject(name), "'" + text(name) + "' is no choice", "use " + join(names, " or "));
  }
  return static_cast<size_t>(found - choices.begin());
}

}  // namespace dorfx
