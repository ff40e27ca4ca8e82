#include "dorfx/transitions/key_parameters.h"

#include "dorfx/errors.h"
#include "dorfx/key_picture.h"

namespace dorfx {

Pattern read_key(const Stage& stage, const Parameters& parameters, const char* purpose) {
  static constexpr const char* kRanges[] = {"full", "limited"};
  if (!parameters.has("key")) {
    throw UsageError(parameters.subject("key"), std::string("needs a ") + purpose,
                     "give a greyscale picture with --key FILE");
  }
  const KeyRange range = parameters.choice("key-range", kRanges) == 0 ? KeyRange::kFull : KeyRange::kLimited;
  Pattern pattern = load_key_picture(parameters.text("key"), range, stage.width, stage.height);
  if (parameters.flag("key-invert")) {
    for (float& value : pattern.values) value = 1 - value;
  }
  return pattern;
}

}  // namespace dorfx
