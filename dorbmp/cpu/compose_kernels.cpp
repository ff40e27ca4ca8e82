#include "dorbmp/cpu/compose_kernels.h"

#include <tuple>

#include "dorbmp/cpu/twins.h"

namespace dorbmp {
namespace {

using namespace compose;

// The implementation families: plain, MMX, MMX with the integer instructions of SSE, SSE2.
enum Family : uint8_t { P, M, X, S };

template <class Kernel>
struct Row {
  Kernel* ComposeKernels::*slot;
  Kernel* family[4];
  Family at_level[kLevels];
  Kernel* twin;  // the same results at the highest level, on processors with AVX2
};

using Slots = ComposeKernels;
using Keyed = Row<KeyedKernel>;
using Mix = Row<MixKernel>;
using Border = Row<BorderKernel>;
using Color = Row<ColorKernel>;

// clang-format off
constexpr std::tuple kRows = {
//      slot                        P                          M                        X                   S                  level 0  1  2  3  4  twin
Keyed {&Slots::key16_rgb32,        {plain::key16_rgb32,        mmx::key16_rgb32,        nullptr,            nullptr},          {P, M, M, M, M}, if_built<avx2::key16_rgb32>},
Keyed {&Slots::key8_rgb32,         {plain::key8_rgb32,         mmx::key8_rgb32,         nullptr,            nullptr},          {P, M, M, M, M}, if_built<avx2::key8_rgb32>},
Keyed {&Slots::key16_yuy2,         {plain::key16_yuy2,         mmx::key16_yuy2,         mmxext::key16_yuy2, nullptr},          {P, M, X, X, X}, if_built<avx2::key16_yuy2>},
Keyed {&Slots::key16_yuy2_aligned, {plain::key16_yuy2,         mmx::key16_yuy2,         mmxext::key16_yuy2, sse2::key16_yuy2}, {P, M, X, X, S}, if_built<avx2::key16_yuy2>},
Keyed {&Slots::key8_yuy2,          {plain::key8_yuy2,          mmx::key8_yuy2,          mmxext::key8_yuy2,  nullptr},          {P, M, X, X, X}, if_built<avx2::key8_yuy2>},
Keyed {&Slots::key8_yuy2_aligned,  {plain::key8_yuy2,          mmx::key8_yuy2,          mmxext::key8_yuy2,  sse2::key8_yuy2},  {P, M, X, X, S}, if_built<avx2::key8_yuy2>},
Mix   {&Slots::mix,                {plain::mix,                mmx::mix,                nullptr,            nullptr},          {P, M, M, M, M}, if_built<avx2::mix>},
Mix   {&Slots::mix_aligned,        {plain::mix,                mmx::mix,                nullptr,            sse2::mix},        {P, M, M, M, S}, if_built<avx2::mix>},
Border{&Slots::color_border_rgb32, {plain::color_border_rgb32, mmx::color_border_rgb32, nullptr,            nullptr},          {P, M, M, M, M}, if_built<avx2::color_border_rgb32>},
Border{&Slots::color_border_yuy2,  {plain::color_border_yuy2,  mmx::color_border_yuy2,  nullptr,            nullptr},          {P, M, M, M, M}, if_built<avx2::color_border_yuy2>},
// No MMX form: plain code, and its twin, at every level.
Color {&Slots::color_rgb32,        {plain::color_rgb32,        nullptr,                 nullptr,            nullptr},          {P, P, P, P, P}, if_built<avx2::color_rgb32>},
Color {&Slots::color_yuy2,         {plain::color_yuy2,         mmx::color_yuy2,         nullptr,            nullptr},          {P, M, M, M, M}, if_built<avx2::color_yuy2>},
};
// clang-format on

static_assert(std::tuple_size_v<decltype(kRows)> * sizeof(void*) == sizeof(ComposeKernels));

}  // namespace

ComposeKernels compose_kernels;

void install_compose_kernels(CpuLevel level, WiderTwins twins) {
  const bool wide = takes_twins(level, twins);
  const auto install = [=](const auto& row) {
    compose_kernels.*row.slot = wide ? row.twin : row.family[row.at_level[level]];
  };
  std::apply([&](const auto&... row) { (install(row), ...); }, kRows);
}

}  // namespace dorbmp
