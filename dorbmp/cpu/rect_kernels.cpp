#include "dorbmp/cpu/rect_kernels.h"

namespace dorbmp {
namespace {

namespace plain = mapping::plain;

constexpr RectKernels kPlain = {
    .add_bytes = plain::add_bytes,
    .add_pairs = plain::add_pairs,
    .sum_columns_1 = plain::sum_columns_1,
    .sum_columns_2 = plain::sum_columns_2,
    .sum_columns_4 = plain::sum_columns_4,
    .put_mono8 = plain::put_mono8,
    .put_rgb32 = plain::put_rgb32,
    .put_yuy2_run = plain::put_yuy2_run,
    .put_yuy2_blended = plain::put_yuy2_blended,
    .mean_mono8 = plain::mean_mono8,
    .mean_rgb32 = plain::mean_rgb32,
    .mean_yuy2 = plain::mean_yuy2,
};

#ifdef DORBMP_AVX2
namespace avx2 = mapping::avx2;

constexpr RectKernels kTwins = {
    .add_bytes = avx2::add_bytes,
    .add_pairs = avx2::add_pairs,
    .sum_columns_1 = avx2::sum_columns_1,
    .sum_columns_2 = avx2::sum_columns_2,
    .sum_columns_4 = avx2::sum_columns_4,
    .put_mono8 = avx2::put_mono8,
    .put_rgb32 = avx2::put_rgb32,
    .put_yuy2_run = avx2::put_yuy2_run,
    .put_yuy2_blended = avx2::put_yuy2_blended,
    .mean_mono8 = avx2::mean_mono8,
    .mean_rgb32 = avx2::mean_rgb32,
    .mean_yuy2 = avx2::mean_yuy2,
};
#else
constexpr const RectKernels& kTwins = kPlain;
#endif

}  // namespace

RectKernels rect_kernels;

void install_rect_kernels(CpuLevel level, WiderTwins twins) {
  rect_kernels = takes_twins(level, twins) ? kTwins : kPlain;
}

}  // namespace dorbmp
