// The composition kernels in use.
#pragma once

#include "dorbmp/compose/kernels.h"
#include "dorbmp/cpu/level.h"

namespace dorbmp {

struct ComposeKernels {
  compose::KeyedKernel* key16_rgb32;
  compose::KeyedKernel* key8_rgb32;
  compose::KeyedKernel* key16_yuy2;
  compose::KeyedKernel* key16_yuy2_aligned;
  compose::KeyedKernel* key8_yuy2;
  compose::KeyedKernel* key8_yuy2_aligned;
  compose::MixKernel* mix;
  compose::MixKernel* mix_aligned;
  compose::BorderKernel* color_border_rgb32;
  compose::BorderKernel* color_border_yuy2;
  compose::ColorKernel* color_rgb32;
  compose::ColorKernel* color_yuy2;
};

// Filled at load, read by the front ends ever after.
extern ComposeKernels compose_kernels;

// Sets all twelve slots. level must be 0 to 4.
void install_compose_kernels(CpuLevel level, WiderTwins twins = WiderTwins::kWhereAvailable);

}  // namespace dorbmp
