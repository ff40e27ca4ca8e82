#include "dorbmp/cpu/rect_kernels.h"

namespace dorbmp {
namespace {

namespace plain = mapping::plain;

constexpr RectKernels kPlain = {
    .weigh_bytes = plain::weigh_bytes,
    .weigh_pairs = plain::weigh_pairs,
    .sum_1 = plain::sum_1,
    .sum_4 = plain::sum_4,
    .sum_pairs = plain::sum_pairs,
    .mix_1 = plain::mix_1,
    .mix_2 = plain::mix_2,
    .mix_4 = plain::mix_4,
    .subtract = plain::subtract,
    .put_mono8 = plain::put_mono8,
    .put_rgb32 = plain::put_rgb32,
    .put_yuy2_run = plain::put_yuy2_run,
    .put_yuy2_blended = plain::put_yuy2_blended,
};

#ifdef DORBMP_AVX2
namespace avx2 = mapping::avx2;

constexpr RectKernels kTwins = {
    .weigh_bytes = avx2::weigh_bytes,
    .weigh_pairs = avx2::weigh_pairs,
    .sum_1 = avx2::sum_1,
    .sum_4 = avx2::sum_4,
    .sum_pairs = avx2::sum_pairs,
    .mix_1 = avx2::mix_1,
    .mix_2 = avx2::mix_2,
    .mix_4 = avx2::mix_4,
    .subtract = avx2::subtract,
    .put_mono8 = avx2::put_mono8,
    .put_rgb32 = avx2::put_rgb32,
    .put_yuy2_run = avx2::put_yuy2_run,
    .put_yuy2_blended = avx2::put_yuy2_blended,
};
#else
constexpr const RectKernels& kTwins = kPlain;
#endif

}  // namespace

RectKernels rect_kernels;

void install_rect_kernels(CpuLevel level, WiderTwins twins) {
  const bool wide = level == kLevelSse2 && twins == WiderTwins::kWhereAvailable && has_avx2();
  rect_kernels = wide ? kTwins : kPlain;
}

}  // namespace dorbmp
