#include "dorbmp/cpu/span_tables.h"

#include <tuple>

#include "dorbmp/mapping/spans/tables.h"

namespace dorbmp {
namespace {

using namespace spans;

enum Family : uint8_t { P, M };

// A kind's plain kernels and the slots the MMX family replaces.
template <class Span>
struct Kind {
  SpanTable<Span> SpanTables::*table;
  const KindTables<Span>* kernels;
  const SpanOverrides<Span>* mmx;
  Family at_level[kLevels];
};

using Tables = SpanTables;
using Affine = Kind<AffineSpan>;
using Perspective = Kind<PerspectiveSpan>;
using Aux = Kind<AuxSpan>;

// The MMX kernels need the integer instructions of SSE: a processor with MMX alone maps with plain code.
// clang-format off
constexpr std::tuple kKinds = {
//           kind                         plain                      MMX                     level 0  1  2  3  4
Affine     {&Tables::yuy2_affine,        &plain::yuy2_affine,       &mmx::yuy2_affine,             {P, P, M, M, M}},
Perspective{&Tables::yuy2_perspective,   &plain::yuy2_perspective,  &mmx::yuy2_perspective,        {P, P, M, M, M}},
Affine     {&Tables::rgb32_affine,       &plain::rgb32_affine,      &mmx::rgb32_affine,            {P, P, M, M, M}},
Perspective{&Tables::rgb32_perspective,  &plain::rgb32_perspective, &mmx::rgb32_perspective,       {P, P, M, M, M}},
Affine     {&Tables::key16_affine,       &plain::key16_affine,      &mmx::key16_affine,            {P, P, M, M, M}},
Perspective{&Tables::key16_perspective,  &plain::key16_perspective, &mmx::key16_perspective,       {P, P, M, M, M}},
Aux        {&Tables::yuy2_depth,         &plain::yuy2_depth,        &mmx::yuy2_depth,              {P, P, M, M, M}},
Aux        {&Tables::rgb32_depth,        &plain::rgb32_depth,       &mmx::rgb32_depth,             {P, P, M, M, M}},
Aux        {&Tables::matte_yuy2,         &plain::matte_yuy2,        &mmx::matte_yuy2,              {P, P, M, M, M}},
Aux        {&Tables::matte_rgb32,        &plain::matte_rgb32,       &mmx::matte_rgb32,             {P, P, M, M, M}},
};
// clang-format on

constexpr FadeLine* kFade[] = {spans::plain::fade_yuy2, spans::mmx::fade_yuy2};
constexpr Family kFadeAtLevel[kLevels] = {P, P, M, M, M};

}  // namespace

SpanTables span_tables;

namespace {

template <class Span>
void replace(SpanTable<Span>& table, const SpanOverrides<Span>& kernels) {
  for (const SpanOverride<Span>& kernel : kernels) table[static_cast<size_t>(kernel.slot)] = kernel.kernel;
}

void install_twins() {
#ifdef DORBMP_AVX2
  replace(span_tables.yuy2_affine, avx2::yuy2_affine);
  replace(span_tables.yuy2_perspective, avx2::yuy2_perspective);
  replace(span_tables.rgb32_affine, avx2::rgb32_affine);
  replace(span_tables.rgb32_perspective, avx2::rgb32_perspective);
  replace(span_tables.key16_affine, avx2::key16_affine);
  replace(span_tables.key16_perspective, avx2::key16_perspective);
  replace(span_tables.yuy2_depth, avx2::yuy2_depth);
  replace(span_tables.rgb32_depth, avx2::rgb32_depth);
  replace(span_tables.matte_yuy2, avx2::matte_yuy2);
  replace(span_tables.matte_rgb32, avx2::matte_rgb32);
#endif
}

}  // namespace

void install_span_tables(CpuLevel level, WiderTwins twins) {
  const auto install = [level](const auto& kind) {
    auto& table = span_tables.*kind.table;
    table = kind.kernels->slots;
    if (kind.at_level[level] == M) replace(table, *kind.mmx);
  };
  std::apply([&](const auto&... kind) { (install(kind), ...); }, kKinds);
  if (level == kLevelSse2 && twins == WiderTwins::kWhereAvailable && has_avx2()) install_twins();
  span_tables.fade = kFade[kFadeAtLevel[level]];
}

}  // namespace dorbmp
