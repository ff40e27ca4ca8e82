#include <cpuid.h>

#include <cstring>

#include "dorbmp/cpu/level.h"

namespace dorbmp {

int32_t read_cpu_identity(CpuIdentity* record) {
  if (!kProcessorProbe.has_identification()) return 0;
  uint32_t eax, ebx, ecx, edx;

  __cpuid(0, eax, ebx, ecx, edx);
  record->highest_leaf = eax;
  std::memcpy(record->vendor + 0, &ebx, 4);
  std::memcpy(record->vendor + 4, &edx, 4);
  std::memcpy(record->vendor + 8, &ecx, 4);
  record->vendor_end = 0;

  __cpuid(1, eax, ebx, ecx, edx);
  record->signature = eax;
  record->features = edx;
  record->extended_features = 0;

  constexpr uint32_t kExtended = 0x80000000;
  __cpuid(kExtended, eax, ebx, ecx, edx);
  if (eax < kExtended + 1) return 0;
  __cpuid(kExtended + 1, eax, ebx, ecx, edx);
  record->extended_features = edx;
  return 1;
}

}  // namespace dorbmp
