#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstring>
#include <map>

#include "dorbmp/load.h"
#include "dorbmp/platform/guarded_call.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

constexpr uint32_t kMmx = 0x800000, kSse = 0x2000000, kSse2 = 0x4000000;

bool yes() {
  return true;
}
bool no() {
  return false;
}
void nothing() {}
void illegal_instruction() {
  __asm__ volatile("ud2");
}
void bad_address() {
  __asm__ volatile("movb $1, (%0)" : : "r"(nullptr) : "memory");
}

uint32_t features;
uint32_t get_features() {
  return features;
}

TEST(Cpu, LevelFollowsFeaturesAndProbe) {
  const struct {
    bool (*identification)();
    uint32_t features;
    void (*touch)();
    int level;
  } kCases[] = {
      {no, kMmx | kSse | kSse2, nothing, 0},
      {yes, 0, nothing, 0},
      {yes, kSse | kSse2, nothing, 0},
      {yes, kMmx, illegal_instruction, 1},  // not probed
      {yes, kMmx | kSse2, nothing, 1},      // SSE2 counts with SSE alone
      {yes, kMmx | kSse, nothing, 3},
      {yes, kMmx | kSse | kSse2, nothing, 4},
      {yes, kMmx | kSse, illegal_instruction, 2},
      {yes, kMmx | kSse | kSse2, illegal_instruction, 2},
      {yes, kMmx | kSse | kSse2, bad_address, 2},
  };
  for (const auto& c : kCases) {
    features = c.features;
    EXPECT_EQ(detect_cpu_level({c.identification, get_features, c.touch}), c.level) << std::hex << c.features;
  }
}

TEST(Cpu, GuardedCallsLeaveNoTrace) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(platform::guarded_call(illegal_instruction));
    EXPECT_TRUE(platform::guarded_call(nothing));
  }
}

#ifndef _WIN32
TEST(Cpu, GuardedCallsTakeBlockedSignals) {
  sigset_t blocked, before, after;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGILL);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  EXPECT_FALSE(platform::guarded_call(illegal_instruction));
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_TRUE(sigismember(&after, SIGILL));
}
#endif

TEST(Cpu, ThisProcessorIsIdentified) {
  CpuIdentity identity = {};
  identity.vendor_end = 1;
  const int32_t extended = read_cpu_identity(&identity);
#ifdef __x86_64__
  EXPECT_EQ(extended, 1);
  EXPECT_EQ(kHighestLevel, 4);
#endif
  EXPECT_TRUE(extended == 1 || identity.extended_features == 0);
  EXPECT_EQ(identity.vendor_end, 0u);
  EXPECT_NE(identity.vendor[0], 0);
  EXPECT_NE(identity.vendor[11], 0);
  EXPECT_EQ(identity.features, kProcessorProbe.standard_features());
}

using ComposeSlots = std::array<const void*, sizeof(ComposeKernels) / sizeof(void*)>;

ComposeSlots compose_slots(Setting setting) {
  const AtLevel at(setting);
  ComposeSlots slots;
  std::memcpy(&slots, &compose_kernels, sizeof(slots));
  return slots;
}

TEST(Cpu, ComposeKernelsRunAtTheirLevels) {
  // The lowest level whose processors have a kernel's instructions; 0 for all others.
  std::map<const void*, int> lowest;
  const auto need = [&](int level, auto*... kernels) {
    ((lowest[reinterpret_cast<const void*>(kernels)] = level), ...);
  };
  {
    using namespace compose::mmx;
    need(1, key16_rgb32, key8_rgb32, key16_yuy2, key8_yuy2, mix, color_border_rgb32, color_border_yuy2,
         color_yuy2);
  }
  need(2, compose::mmxext::key16_yuy2, compose::mmxext::key8_yuy2);
  need(4, compose::sse2::key16_yuy2, compose::sse2::key8_yuy2, compose::sse2::mix);

  ComposeSlots below = {};
  for (int level = 0; level < kLevels; ++level) {
    const ComposeSlots slots = compose_slots({level, WiderTwins::kNever});
    for (const void* const kernel : slots) {
      EXPECT_NE(kernel, nullptr);
      EXPECT_LE(lowest[kernel], level);
    }
    EXPECT_EQ(slots != below, level != 3) << "level 3 adds nothing, every other one does: level " << level;
    below = slots;
    // Twins only at the highest level.
    EXPECT_EQ(compose_slots({level}) != slots, level == 4 && has_avx2());
  }
}

TEST(Cpu, OnlyProcessAttachInstalls) {
  for (const uint32_t reason : {0u, 2u, 3u, 99u}) {
    compose_kernels = {};
    EXPECT_EQ(library_entry(nullptr, reason, nullptr), 1);
    EXPECT_EQ(compose_kernels.mix, nullptr);
  }
  EXPECT_EQ(library_entry(nullptr, 1, nullptr), 1);
  EXPECT_NE(compose_kernels.mix, nullptr);
  EXPECT_NE(span_tables.fade, nullptr);
}

}  // namespace
}  // namespace dorbmp::test
