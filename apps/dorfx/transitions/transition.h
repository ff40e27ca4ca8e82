// A transition: what it is called, what it can be told, and how it draws one frame or field.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "dorbmp.h"
#include "dorfx/stage.h"
#include "dorfx/transitions/parameters.h"

namespace dorfx {

// The two pictures and the frame to draw, all of one geometry.
struct Layers {
  Bitmap* out;
  const Bitmap* from;
  const Bitmap* to;
};

class Transition {
 public:
  virtual ~Transition() = default;
  // Draws the lines that the FieldFlags choose. progress: between 0 and 1, both excluded; the ends are the
  // pictures themselves and need no drawing. Every pixel of these lines must be written.
  virtual void render(const Layers& layers, double progress, uint32_t fields) = 0;
};

struct TransitionEntry {
  const char* name;
  const char* summary;
  std::span<const Parameter> parameters;
  std::unique_ptr<Transition> (*make)(const Stage& stage, const Parameters& parameters);
};

// All transitions, in the order in which they are listed.
std::vector<const TransitionEntry*> all_transitions();

// Throws UsageError with the nearest name.
const TransitionEntry& find_transition(const std::string& name);

// The text of --list.
std::string describe_transitions();

}  // namespace dorfx
