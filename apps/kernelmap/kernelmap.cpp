// Prints what the library chose for this processor: the level, and the family that serves each slot.
#include <cstdio>

#include "dorbmp/cpu/compose_kernels.h"
#include "dorbmp/cpu/level.h"
#include "dorbmp/cpu/rect_kernels.h"
#include "dorbmp/cpu/span_tables.h"
#include "dorbmp/load.h"

using namespace dorbmp;

namespace {

constexpr const char* kLevelNames[kLevels] = {"plain", "MMX", "MMX with SSE integer", "SSE", "SSE2"};

// The slots as each level has them, through the installer that loading uses. What is in use is one of them,
// and the first level that has it names the family.
struct ComposeAtLevels {
  ComposeKernels chosen = compose_kernels;
  ComposeKernels level[kLevels];

  ComposeAtLevels() {
    for (CpuLevel at = 0; at < kLevels; ++at) {
      install_compose_kernels(at, WiderTwins::kNever);
      level[at] = compose_kernels;
    }
    compose_kernels = chosen;
  }

  template <class Kernel>
  const char* family(Kernel* ComposeKernels::*slot) const {
    constexpr const char* kFamilies[kLevels] = {"plain", "mmx", "mmxext", "mmxext", "sse2"};
    for (CpuLevel at = 0; at < kLevels; ++at) {
      if (level[at].*slot == chosen.*slot) return kFamilies[at];
    }
    return "avx2";
  }
};

void print_compose_slots() {
  const ComposeAtLevels levels;
  const auto print = [&](const char* name, auto slot) {
    std::printf("  %-20s %s\n", name, levels.family(slot));
  };
  using Slots = ComposeKernels;
  std::puts("composition");
  print("key16_rgb32", &Slots::key16_rgb32);
  print("key8_rgb32", &Slots::key8_rgb32);
  print("key16_yuy2", &Slots::key16_yuy2);
  print("key16_yuy2_aligned", &Slots::key16_yuy2_aligned);
  print("key8_yuy2", &Slots::key8_yuy2);
  print("key8_yuy2_aligned", &Slots::key8_yuy2_aligned);
  print("mix", &Slots::mix);
  print("mix_aligned", &Slots::mix_aligned);
  print("color_border_rgb32", &Slots::color_border_rgb32);
  print("color_border_yuy2", &Slots::color_border_yuy2);
  print("color_rgb32", &Slots::color_rgb32);
  print("color_yuy2", &Slots::color_yuy2);
}

// A letter a slot: P plain, M MMX, A the AVX2 twin of either.
void print_span_tables(CpuLevel level) {
  const SpanTables chosen = span_tables;
  install_span_tables(kLevelPlain);
  const SpanTables plain = span_tables;
  install_span_tables(level, WiderTwins::kNever);
  const SpanTables narrow = span_tables;
  span_tables = chosen;
  const auto letter = [](auto kernel, auto plain_kernel, auto narrow_kernel) {
    return kernel == plain_kernel ? 'P' : kernel == narrow_kernel ? 'M' : 'A';
  };
  const auto print = [&](const char* name, auto kind) {
    char letters[spans::kSlots + 1] = {};
    for (size_t slot = 0; slot < spans::kSlots; ++slot) {
      letters[slot] = letter((chosen.*kind)[slot], (plain.*kind)[slot], (narrow.*kind)[slot]);
    }
    std::printf("  %-20s %s\n", name, letters);
  };
  using Tables = SpanTables;
  std::puts("spans, slots 0 to 20: P plain, M MMX, A AVX2");
  print("yuy2_affine", &Tables::yuy2_affine);
  print("yuy2_perspective", &Tables::yuy2_perspective);
  print("rgb32_affine", &Tables::rgb32_affine);
  print("rgb32_perspective", &Tables::rgb32_perspective);
  print("key16_affine", &Tables::key16_affine);
  print("key16_perspective", &Tables::key16_perspective);
  print("yuy2_depth", &Tables::yuy2_depth);
  print("rgb32_depth", &Tables::rgb32_depth);
  print("matte_yuy2", &Tables::matte_yuy2);
  print("matte_rgb32", &Tables::matte_rgb32);
  std::printf("  %-20s %c\n", "fade", letter(chosen.fade, plain.fade, narrow.fade));
}

void print_rect_kernels() {
  const RectKernels chosen = rect_kernels;
  install_rect_kernels(kLevelPlain);
  const bool is_plain = chosen.put_rgb32 == rect_kernels.put_rgb32;
  rect_kernels = chosen;
  std::printf("rectangles            %s\n", is_plain ? "plain" : "avx2");
}

}  // namespace

int main() {
  if (!platform::entry_is_linked) return 1;  // an archive's member comes when it is named
  CpuIdentity identity = {};
  read_cpu_identity(&identity);
  const CpuLevel level = detect_cpu_level();
  std::printf("processor  %.12s, signature %08x, features %08x, extended %08x\n", identity.vendor,
              identity.signature, identity.features, identity.extended_features);
  std::printf("level      %d (%s)%s\n", level, kLevelNames[level], has_avx2() ? ", AVX2" : "");
  print_compose_slots();
  print_span_tables(level);
  print_rect_kernels();
}
