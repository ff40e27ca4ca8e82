#include <cstdio>

#include "dorfx/errors.h"
#include "dorfx/transitions/entries.h"

namespace dorfx {

std::vector<const TransitionEntry*> all_transitions() {
  std::vector<const TransitionEntry*> all;
  for (const auto& group :
       {fade_entries(), pattern_entries(), rect_entries(), circle_entries(), move_entries(),
        rect_move_entries(), polygon_wipe_entries(), turn_entries(), cube_entries(), title_entries()}) {
    for (const TransitionEntry& entry : group) all.push_back(&entry);
  }
  return all;
}

const TransitionEntry& find_transition(const std::string& name) {
  std::vector<std::string> names;
  for (const TransitionEntry* entry : all_transitions()) {
    if (name == entry->name) return *entry;
    names.emplace_back(entry->name);
  }
  throw UsageError("--transition", "'" + name + "' is unknown", "use one of " + join(names, ", "));
}

std::string describe_transitions() {
  std::string text;
  char line[256];
  for (const TransitionEntry* entry : all_transitions()) {
    std::snprintf(line, sizeof line, "%-12s %s\n", entry->name, entry->summary);
    text += line;
    for (const Parameter& parameter : entry->parameters) {
      const std::string setting = std::string(parameter.name) + "=" + parameter.value;
      std::snprintf(line, sizeof line, "    %-22s %s\n", setting.c_str(), parameter.meaning);
      text += line;
    }
  }
  return text;
}

}  // namespace dorfx
