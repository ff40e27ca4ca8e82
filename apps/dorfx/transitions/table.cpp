#include <algorithm>
#include <cstdio>
#include <numeric>
#include <string_view>
#include <utility>

#include "dorfx/errors.h"
#include "dorfx/transitions/entries.h"

namespace dorfx {
namespace {

// How many letters must be put in, left out or changed to make one word of the other.
size_t edits_between(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);  // from the letters of a so far to those of b before each place
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t before = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = before + (a[i] == b[j] ? 0 : 1);
      before = std::exchange(row[j + 1], std::min({changed, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
}

}  // namespace

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
  const std::vector<const TransitionEntry*> all = all_transitions();
  for (const TransitionEntry* entry : all) {
    if (name == entry->name) return *entry;
  }
  const auto distance = [&](const TransitionEntry* entry) { return edits_between(name, entry->name); };
  const TransitionEntry* nearest = *std::ranges::min_element(all, {}, distance);
  const bool is_slip = 2 * distance(nearest) <= name.size();
  throw UsageError(
      "--transition", "'" + name + "' is unknown",
      (is_slip ? std::string("the nearest is ") + nearest->name + "; " : "") + "--list names all");
}

std::string describe_transitions() {
  std::string text;
  char line[256];
  for (const TransitionEntry* entry : all_transitions()) {
    std::snprintf(line, sizeof line, "%-12s %s\n", entry->name, entry->summary);
    text += line;
    for (const Parameter& parameter : entry->parameters) {
      const bool has_default = *parameter.value != '\0';
      const std::string setting =
          std::string(parameter.name) + "=" + (has_default ? parameter.value : "(none)");
      std::snprintf(line, sizeof line, "    %-22s %s\n", setting.c_str(), parameter.meaning);
      text += line;
    }
  }
  return text;
}

}  // namespace dorfx
