// The rectangle mapping kernels in use.
#pragma once

#include "dorbmp/cpu/level.h"
#include "dorbmp/mapping/rect/kernels.h"

namespace dorbmp {

struct RectKernels {
  mapping::AddBytes* add_bytes;
  mapping::AddPairs* add_pairs;
  mapping::SumColumns<1>* sum_columns_1;
  mapping::SumColumns<2>* sum_columns_2;
  mapping::SumColumns<4>* sum_columns_4;
  mapping::PutMono8* put_mono8;
  mapping::PutRgb32* put_rgb32;
  mapping::PutPairs* put_yuy2_run;
  mapping::PutPairs* put_yuy2_blended;
  mapping::MeanMono8* mean_mono8;
  mapping::MeanRgb32* mean_rgb32;
  mapping::MeanYuy2* mean_yuy2;
};

// Filled at load, read by the row drivers ever after.
extern RectKernels rect_kernels;

// Plain kernels at every level; at the highest one their twins where the processor has AVX2.
void install_rect_kernels(CpuLevel level, WiderTwins twins = WiderTwins::kWhereAvailable);

}  // namespace dorbmp
