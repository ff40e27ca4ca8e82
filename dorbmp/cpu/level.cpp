#include "dorbmp/cpu/level.h"

#include <cpuid.h>

#include "dorbmp/platform/guarded_call.h"

namespace dorbmp {
namespace {

constexpr uint32_t kMmx = 1u << 23;
constexpr uint32_t kSse = 1u << 25;
constexpr uint32_t kSse2 = 1u << 26;

// Flips the ID flag (bit 21) and sees whether it stays.
bool id_flag_toggles() {
  uintptr_t before;
  uintptr_t after;
#ifdef __x86_64__
  // The red zone below the stack pointer may be in use: step over it.
  __asm__ volatile(
      "lea -128(%%rsp), %%rsp\n\t"
      "pushfq\n\tpop %0\n\tmov %0, %1\n\txor $0x200000, %1\n\tpush %1\n\tpopfq\n\tpushfq\n\tpop %1\n\t"
      "lea 128(%%rsp), %%rsp"
      : "=&r"(before), "=&r"(after)
      :
      : "cc");
#else
  __asm__ volatile(
      "pushfl\n\tpop %0\n\tmov %0, %1\n\txor $0x200000, %1\n\tpush %1\n\tpopfl\n\tpushfl\n\tpop %1"
      : "=&r"(before), "=&r"(after)
      :
      : "cc");
#endif
  return ((before ^ after) & 0x200000) != 0;
}

uint32_t leaf_1_edx() {
  uint32_t eax, ebx, ecx, edx;
  __cpuid(1, eax, ebx, ecx, edx);
  return edx;
}

// Assembly, because a compiler would leave out an instruction without effect.
void clear_an_sse_register() {
#ifdef __SSE__
  __asm__ volatile("xorps %%xmm0, %%xmm0" : : : "xmm0");
#else
  __asm__ volatile("xorps %xmm0, %xmm0");
#endif
}

#ifdef DORBMP_AVX2
bool ask_for_avx2() {
  constexpr uint32_t kOsxsaveAndAvx = 1u << 27 | 1u << 28;
  constexpr uint32_t kAvx2 = 1u << 5;
  constexpr uint32_t kXmmAndYmm = 6;
  if (!id_flag_toggles()) return false;
  uint32_t eax, ebx, ecx, edx;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || (ecx & kOsxsaveAndAvx) != kOsxsaveAndAvx) return false;
  uint32_t enabled, high;
  __asm__("xgetbv" : "=a"(enabled), "=d"(high) : "c"(0));
  if ((enabled & kXmmAndYmm) != kXmmAndYmm) return false;
  return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & kAvx2) != 0;
}
#endif

}  // namespace

const CpuProbe kProcessorProbe = {id_flag_toggles, leaf_1_edx, clear_an_sse_register};

CpuLevel detect_cpu_level(const CpuProbe& probe) {
  if (!probe.has_identification()) return kLevelPlain;
  const uint32_t features = probe.standard_features();
  if ((features & kMmx) == 0) return kLevelPlain;
  if ((features & kSse) == 0) return kLevelMmx;
  if (!platform::guarded_call(probe.touch_sse)) return kLevelMmxExt;
  return (features & kSse2) != 0 ? kLevelSse2 : kLevelSse;
}

bool has_avx2() {
#ifdef DORBMP_AVX2
  // Virtual machines take tens of microseconds over each question.
  static const bool has = ask_for_avx2();
  return has;
#else
  return false;
#endif
}

bool takes_twins(CpuLevel level, WiderTwins twins) {
  return level == kLevelSse2 && twins == WiderTwins::kWhereAvailable && has_avx2();
}

}  // namespace dorbmp
