// What the processor and the operating system let kernels use.
#pragma once

#include <cstdint>

namespace dorbmp {

// 0 to 4.
using CpuLevel = int32_t;
inline constexpr CpuLevel kLevelPlain = 0;  // no identification instruction, or no MMX
inline constexpr CpuLevel kLevelMmx = 1;    // MMX, no SSE
inline constexpr CpuLevel kLevelMmxExt =
    2;  // SSE reported but not enabled: its integer part on MMX registers
inline constexpr CpuLevel kLevelSse = 3;
inline constexpr CpuLevel kLevelSse2 = 4;
inline constexpr int kLevels = 5;

// What detection asks; a test may replace any of it.
struct CpuProbe {
  bool (*has_identification)();     // the ID flag of the flags register can be toggled
  uint32_t (*standard_features)();  // EDX of identification leaf 1
  void (*touch_sse)();              // executes one SSE instruction; may fault
};

extern const CpuProbe kProcessorProbe;

CpuLevel detect_cpu_level(const CpuProbe& probe = kProcessorProbe);

// Whether AVX2 may be used, the system's part included. No level depends on it: at the highest level it only
// lets wider kernels with the same results take the place of narrower ones. Always false in a build without
// them (DORBMP_AVX2 off).
bool has_avx2();

// Whether an installer may choose them.
enum class WiderTwins { kNever, kWhereAvailable };

// Whether they take the places of a level's own kernels.
bool takes_twins(CpuLevel level, WiderTwins twins);

// Eight words that describe the processor, for diagnosis. Returns 1 if the extended features were read, else
// 0; without the identification instruction nothing is written.
struct CpuIdentity {
  uint32_t highest_leaf;
  char vendor[12];
  uint32_t vendor_end;  // 0: ends the text
  uint32_t signature;
  uint32_t features;
  uint32_t extended_features;
};
static_assert(sizeof(CpuIdentity) == 32);

int32_t read_cpu_identity(CpuIdentity* record);

}  // namespace dorbmp
