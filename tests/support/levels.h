// Processor levels for tests.
#pragma once

#include <span>

#include "dorbmp/cpu/compose_kernels.h"
#include "dorbmp/cpu/level.h"
#include "dorbmp/cpu/rect_kernels.h"
#include "dorbmp/cpu/span_tables.h"
#include "dorbmp/load.h"

namespace dorbmp::test {

// The levels up to this one run on this processor.
inline const CpuLevel kHighestLevel = detect_cpu_level();

// Every set of kernels that a processor may get, as far as this one goes.
struct Setting {
  int level;
  WiderTwins twins = WiderTwins::kWhereAvailable;
};
inline constexpr Setting kAllSettings[] = {{0}, {1}, {2}, {3}, {4, WiderTwins::kNever}, {4}};
inline const std::span kSettings(kAllSettings,
                                 kHighestLevel < 4 ? static_cast<size_t>(kHighestLevel) + 1 : 6);

// Forces a level for a scope, through the installers that loading uses.
class AtLevel {
 public:
  explicit AtLevel(Setting setting) { install_kernels(setting.level, setting.twins); }
  explicit AtLevel(int level) : AtLevel(Setting{level}) {}
  ~AtLevel() { install_kernels(kHighestLevel); }
  AtLevel(const AtLevel&) = delete;
  AtLevel& operator=(const AtLevel&) = delete;
};

}  // namespace dorbmp::test
