// What happens once, when the library is loaded.
#pragma once

#include <cstdint>

#include "dorbmp/cpu/level.h"

namespace dorbmp {

inline constexpr uint32_t kProcessAttach = 1;

// The load-time entry. On process attach it determines the processor level and installs the kernels for it;
// for every other reason it does nothing. Always returns 1.
int32_t library_entry(void* module, uint32_t reason, void* reserved);

// Installs every kernel for a level of 0 to 4. Not while other threads draw.
void install_kernels(CpuLevel level, WiderTwins twins = WiderTwins::kWhereAvailable);

namespace platform {

// Defined beside the system's own entry, which calls library_entry.
extern const bool entry_is_linked;

}  // namespace platform

}  // namespace dorbmp
