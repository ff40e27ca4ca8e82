// The span kernels in use: ten kinds of 21 slots, and the fade routine.
#pragma once

#include "dorbmp/cpu/level.h"
#include "dorbmp/mapping/spans/span_types.h"

namespace dorbmp {

// Kinds by number. A null entry has no kernel and draws nothing.
struct SpanTables {
  spans::SpanTable<spans::AffineSpan> yuy2_affine;             // 0
  spans::SpanTable<spans::PerspectiveSpan> yuy2_perspective;   // 1
  spans::SpanTable<spans::AffineSpan> rgb32_affine;            // 2
  spans::SpanTable<spans::PerspectiveSpan> rgb32_perspective;  // 3
  spans::SpanTable<spans::AffineSpan> key16_affine;            // 4
  spans::SpanTable<spans::PerspectiveSpan> key16_perspective;  // 5
  spans::SpanTable<spans::AuxSpan> yuy2_depth;                 // 6
  spans::SpanTable<spans::AuxSpan> rgb32_depth;                // 7
  spans::SpanTable<spans::AuxSpan> matte_yuy2;                 // 8
  spans::SpanTable<spans::AuxSpan> matte_rgb32;                // 9
  // Follows the level like the rest, and no operation reads it: the one-value fill takes the plain routine at
  // every level, whose finer scale makes its bytes the same at all of them.
  spans::FadeLine* fade;
};

// Filled at load, read by the polygon mapper ever after.
extern SpanTables span_tables;

// Copies the tables chosen for the level, then sets the fade routine. level must be 0 to 4.
void install_span_tables(CpuLevel level, WiderTwins twins = WiderTwins::kWhereAvailable);

}  // namespace dorbmp
