#include "dorbmp/cpu/span_tables.h"

#include <tuple>

#include "dorbmp/cpu/twins.h"
#include "dorbmp/mapping/spans/tables.h"

namespace dorbmp {
namespace {

using namespace spans;

enum Family : uint8_t { P, M };

// A kind's plain kernels, the slots the MMX family replaces, and those that have a twin: the same results at
// the highest level, on processors with AVX2.
template <class Span>
struct Kind {
  SpanTable<Span> SpanTables::*table;
  const KindTables<Span>* kernels;
  const SpanOverrides<Span>* mmx;
  Family at_level[kLevels];
  const SpanOverrides<Span>* twins;
};

using Tables = SpanTables;
using Affine = Kind<AffineSpan>;
using Perspective = Kind<PerspectiveSpan>;
using Aux = Kind<AuxSpan>;

// The MMX kernels need the integer instructions of SSE: a processor with MMX alone maps with plain code.
// clang-format off
constexpr std::tuple kKinds = {
//           kind                         plain                      MMX                     level 0  1  2  3  4    twins
Affine     {&Tables::yuy2_affine,        &plain::yuy2_affine,       &mmxext::yuy2_affine,             {P, P, M, M, M}, if_built<&avx2::yuy2_affine>},
Perspective{&Tables::yuy2_perspective,   &plain::yuy2_perspective,  &mmxext::yuy2_perspective,        {P, P, M, M, M}, if_built<&avx2::yuy2_perspective>},
Affine     {&Tables::rgb32_affine,       &plain::rgb32_affine,      &mmxext::rgb32_affine,            {P, P, M, M, M}, if_built<&avx2::rgb32_affine>},
Perspective{&Tables::rgb32_perspective,  &plain::rgb32_perspective, &mmxext::rgb32_perspective,       {P, P, M, M, M}, if_built<&avx2::rgb32_perspective>},
Affine     {&Tables::key16_affine,       &plain::key16_affine,      &mmxext::key16_affine,            {P, P, M, M, M}, if_built<&avx2::key16_affine>},
Perspective{&Tables::key16_perspective,  &plain::key16_perspective, &mmxext::key16_perspective,       {P, P, M, M, M}, if_built<&avx2::key16_perspective>},
Aux        {&Tables::yuy2_depth,         &plain::yuy2_depth,        &mmxext::yuy2_depth,              {P, P, M, M, M}, if_built<&avx2::yuy2_depth>},
Aux        {&Tables::rgb32_depth,        &plain::rgb32_depth,       &mmxext::rgb32_depth,             {P, P, M, M, M}, if_built<&avx2::rgb32_depth>},
Aux        {&Tables::matte_yuy2,         &plain::matte_yuy2,        &mmxext::matte_yuy2,              {P, P, M, M, M}, if_built<&avx2::matte_yuy2>},
Aux        {&Tables::matte_rgb32,        &plain::matte_rgb32,       &mmxext::matte_rgb32,             {P, P, M, M, M}, if_built<&avx2::matte_rgb32>},
};
// clang-format on

constexpr FadeLine* kFade[] = {spans::plain::fade_yuy2, spans::mmxext::fade_yuy2};
constexpr Family kFadeAtLevel[kLevels] = {P, P, M, M, M};

template <class Span>
void replace(SpanTable<Span>& table, const SpanOverrides<Span>& kernels) {
  for (const SpanOverride<Span>& kernel : kernels) table[static_cast<size_t>(kernel.slot)] = kernel.kernel;
}

}  // namespace

SpanTables span_tables;

void install_span_tables(CpuLevel level, WiderTwins twins) {
  const bool wide = takes_twins(level, twins);
  const auto install = [=](const auto& kind) {
    auto& table = span_tables.*kind.table;
    table = kind.kernels->slots;
    if (kind.at_level[level] == M) replace(table, *kind.mmx);
    if (wide) replace(table, *kind.twins);
  };
  std::apply([&](const auto&... kind) { (install(kind), ...); }, kKinds);
  span_tables.fade = kFade[kFadeAtLevel[level]];
}

}  // namespace dorbmp
