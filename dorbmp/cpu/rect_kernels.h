// The rectangle mapping kernels in use.
#pragma once

#include "dorbmp/cpu/level.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp {

struct RectKernels {
  mapping::WeighBytes* weigh_bytes;
  mapping::WeighPairs* weigh_pairs;
  mapping::SumSamples* sum_1;
  mapping::SumSamples* sum_4;
  mapping::SumPairs* sum_pairs;
  mapping::Mix* mix_1;
  mapping::Mix* mix_2;
  mapping::Mix* mix_4;
  mapping::Subtract* subtract;
  mapping::PutMono8* put_mono8;
  mapping::PutRgb32* put_rgb32;
  mapping::PutPairs* put_yuy2_run;
  mapping::PutPairs* put_yuy2_blended;
};

// Filled at load, read by the row drivers ever after.
extern RectKernels rect_kernels;

// Plain kernels at every level; at the highest one their twins where the processor has AVX2.
void install_rect_kernels(CpuLevel level, WiderTwins twins = WiderTwins::kWhereAvailable);

}  // namespace dorbmp
