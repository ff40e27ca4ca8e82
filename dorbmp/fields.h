// The lines an operation works on.
#pragma once

#include <cstdint>

#include "dorbmp.h"

namespace dorbmp {

// FieldFlags taken literally: bit 0 moves the first line to 1, bit 1 doubles the step.
struct FieldRows {
  int32_t first;
  int32_t step;

  explicit constexpr FieldRows(uint32_t flags)
      : first(flags & BMP_FIELD_ODD), step((flags & BMP_FIELD_ONLY) != 0 ? 2 : 1) {}

  // Lines of a bitmap of that height; 0 where the first one is already below it.
  constexpr int32_t count(int32_t height) const {
    return height > first ? (height - first - 1) / step + 1 : 0;
  }
};

// Whether a line belongs to the field that FieldFlags name. Without BMP_FIELD_ONLY, every line does.
constexpr bool is_in_field(int32_t line, uint32_t flags) {
  return (flags & BMP_FIELD_ONLY) == 0 || (static_cast<uint32_t>(line) & 1) == (flags & BMP_FIELD_ODD);
}

}  // namespace dorbmp
