#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <vector>

#include "dorbmp/load.h"
#include "dorbmp/platform/guarded_call.h"
#include "support/frames.h"
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

// Which implementation a slot holds, as letters: the same function, the same letter, in order of appearance.
template <class Slot>
std::string pattern(Slot slot) {
  std::string letters;
  std::vector<decltype(slot())> seen;
  for (int level = 0; level < kLevels; ++level) {
    const AtLevel at({level, WiderTwins::kNever});
    const auto kernel = slot();
    EXPECT_NE(kernel, nullptr);
    const auto found = std::find(seen.begin(), seen.end(), kernel);
    letters += static_cast<char>('a' + (found - seen.begin()));
    if (found == seen.end()) seen.push_back(kernel);
  }
  return letters;
}

TEST(Cpu, EveryComposeRowChangesAtItsLevels) {
  auto& k = compose_kernels;
  EXPECT_EQ(pattern([&] { return k.key16_rgb32; }), "abbbb");
  EXPECT_EQ(pattern([&] { return k.key8_rgb32; }), "abbbb");
  EXPECT_EQ(pattern([&] { return k.key16_yuy2; }), "abccc");
  EXPECT_EQ(pattern([&] { return k.key16_yuy2_aligned; }), "abccd");
  EXPECT_EQ(pattern([&] { return k.key8_yuy2; }), "abccc");
  EXPECT_EQ(pattern([&] { return k.key8_yuy2_aligned; }), "abccd");
  EXPECT_EQ(pattern([&] { return k.mix; }), "abbbb");
  EXPECT_EQ(pattern([&] { return k.mix_aligned; }), "abbbc");
  EXPECT_EQ(pattern([&] { return k.color_border_rgb32; }), "abbbb");
  EXPECT_EQ(pattern([&] { return k.color_border_yuy2; }), "abbbb");
  EXPECT_EQ(pattern([&] { return k.color_rgb32; }), "aaaaa");
  EXPECT_EQ(pattern([&] { return k.color_yuy2; }), "abbbb");
  // Aligned rows share the unaligned implementation below the highest level.
  for (int level = 0; level < 4; ++level) {
    const AtLevel at(level);
    EXPECT_EQ(k.key16_yuy2, k.key16_yuy2_aligned);
    EXPECT_EQ(k.key8_yuy2, k.key8_yuy2_aligned);
    EXPECT_EQ(k.mix, k.mix_aligned);
  }
  // Twins only at the highest level, and there for both rows of a pair.
  for (const int level : {3, 4}) {
    const AtLevel twins(level);
    const ComposeKernels with_twins = k;
    const AtLevel at({level, WiderTwins::kNever});
    EXPECT_EQ(with_twins.mix != k.mix, level == 4 && has_avx2());
    EXPECT_EQ(with_twins.mix == with_twins.mix_aligned, level == 3 || has_avx2());
  }
  EXPECT_EQ(pattern([] { return span_tables.fade; }), "aabbb");
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

TEST(Cpu, FadeRoutinesFollowTheirScales) {
  Random random(1);
  for (int level = 0; level <= kHighestLevel; ++level) {
    const AtLevel at(level);
    const int full = level < 2 ? 4096 : 128, shift = level < 2 ? 12 : 7;
    Frame line(20, 1, BMP_FORMAT_YUY2, random);
    for (int i = 0; i < 50; ++i) {
      const int weight = random.between(0, full), rest = full - weight;
      const int terms[] = {random.between(0, 255) * rest, random.between(0, 255) * rest,
                           random.between(0, 255) * rest};
      auto expected = line.bytes();
      for (size_t b = 0; b < 4 * 9; ++b) {
        const int term = b % 2 == 0 ? terms[0] : terms[b % 4 == 1 ? 1 : 2];
        expected[b] = static_cast<uint8_t>(std::min((expected[b] * weight + term) >> shift, 255));
      }
      span_tables.fade(line.row(0), weight, terms[0], terms[1], terms[2], 9);
      EXPECT_TRUE(x87_is_empty());
      EXPECT_EQ(difference(expected, line), "") << "level " << level;
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
