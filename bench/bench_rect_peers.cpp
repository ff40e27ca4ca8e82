// Scalers of other libraries at the sizes of bench_rect.cpp, single-threaded. Most use cheaper filters than
// area weighting; none blends, keeps coverage or starts at any fraction.
#include "bench.h"

#ifdef DORBMP_WITH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef DORBMP_WITH_LIBYUV
#include <libyuv.h>
#endif
#ifdef DORBMP_WITH_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace dorbmp::bench {
namespace {

constexpr Size kSource = {1920, 1080};
constexpr Size kTargets[] = {{2880, 1620}, {1152, 648}, {480, 270}};
constexpr const char* kTargetNames[] = {"x1.5", "x0.6", "x0.25"};

template <class Prepare>
void add(const std::string& name, Size target, int bytes, Prepare prepare) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    auto run = prepare(target);
    for (auto _ : state) run();
    report(state, target.pixels(), (kSource.pixels() + target.pixels()) * bytes);
  })->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] std::shared_ptr<Bitmap> shared(Size size, uint32_t format) {
  return std::shared_ptr<Bitmap>(make_frame(size, format));
}

[[maybe_unused]] void add_opencv(const std::string& scale, Size target) {
#ifdef DORBMP_WITH_OPENCV
  cv::setNumThreads(1);
  for (const auto& [filter, mode] : {std::pair{"area", cv::INTER_AREA}, {"linear", cv::INTER_LINEAR}}) {
    for (const int channels : {1, 4}) {
      const std::string name =
          std::string("peer/opencv_") + filter + (channels == 1 ? "/pal8/" : "/rgb32/") + scale;
      add(name, target, channels, [=, mode = mode](Size size) {
        return [src = cv::Mat(kSource.height, kSource.width, CV_8UC(channels), cv::Scalar::all(70)),
                dst = cv::Mat(size.height, size.width, CV_8UC(channels), cv::Scalar::all(0)),
                mode]() mutable { cv::resize(src, dst, dst.size(), 0, 0, mode); };
      });
    }
  }
#else
  (void)scale, (void)target;
#endif
}

[[maybe_unused]] void add_libyuv(const std::string& scale, Size target) {
#ifdef DORBMP_WITH_LIBYUV
  add("peer/libyuv_box/rgb32/" + scale, target, 4, [](Size size) {
    return [src = shared(kSource, BMP_FORMAT_RGB32), dst = shared(size, BMP_FORMAT_RGB32)] {
      libyuv::ARGBScale(src->pixels, src->pitch, src->width, src->height, dst->pixels, dst->pitch, dst->width,
                        dst->height, libyuv::kFilterBox);
    };
  });
  add("peer/libyuv_box/pal8/" + scale, target, 1, [](Size size) {
    return [src = shared(kSource, BMP_FORMAT_PAL8), dst = shared(size, BMP_FORMAT_PAL8)] {
      libyuv::ScalePlane(src->pixels, src->pitch, src->width, src->height, dst->pixels, dst->pitch,
                         dst->width, dst->height, libyuv::kFilterBox);
    };
  });
  // 4:2:2 as a luma plane and two of half the width.
  add("peer/libyuv_box/yuy2/" + scale, target, 2, [](Size size) {
    const Size half_source = {kSource.width / 2, kSource.height}, half = {size.width / 2, size.height};
    return [y = shared(kSource, BMP_FORMAT_PAL8), to_y = shared(size, BMP_FORMAT_PAL8),
            c = shared(half_source, BMP_FORMAT_PAL8), to_u = shared(half, BMP_FORMAT_PAL8),
            to_v = shared(half, BMP_FORMAT_PAL8)] {
      const auto plane = [](const auto& src, const auto& dst) {
        libyuv::ScalePlane(src->pixels, src->pitch, src->width, src->height, dst->pixels, dst->pitch,
                           dst->width, dst->height, libyuv::kFilterBox);
      };
      plane(y, to_y);
      plane(c, to_u);
      plane(c, to_v);
    };
  });
#else
  (void)scale, (void)target;
#endif
}

[[maybe_unused]] void add_swscale(const std::string& scale, Size target) {
#ifdef DORBMP_WITH_SWSCALE
  struct Kind {
    const char* name;
    AVPixelFormat pixels;
    uint32_t format;
    int bytes;
  };
  for (const Kind& kind : {Kind{"pal8", AV_PIX_FMT_GRAY8, BMP_FORMAT_PAL8, 1},
                           {"rgb32", AV_PIX_FMT_BGRA, BMP_FORMAT_RGB32, 4},
                           {"yuy2", AV_PIX_FMT_YUYV422, BMP_FORMAT_YUY2, 2}}) {
    add(std::string("peer/swscale_area/") + kind.name + "/" + scale, target, kind.bytes, [=](Size size) {
      std::shared_ptr<SwsContext> context(
          sws_getContext(kSource.width, kSource.height, kind.pixels, size.width, size.height, kind.pixels,
                         SWS_AREA, nullptr, nullptr, nullptr),
          sws_freeContext);
      return [context, src = shared(kSource, kind.format), dst = shared(size, kind.format)] {
        const uint8_t* from[] = {src->pixels};
        uint8_t* to[] = {dst->pixels};
        const int from_pitch[] = {src->pitch}, to_pitch[] = {dst->pitch};
        sws_scale(context.get(), from, from_pitch, 0, src->height, to, to_pitch);
      };
    });
  }
#else
  (void)scale, (void)target;
#endif
}

const bool registered = [] {
  for (size_t i = 0; i < std::size(kTargets); ++i) {
    add_opencv(kTargetNames[i], kTargets[i]);
    add_libyuv(kTargetNames[i], kTargets[i]);
    add_swscale(kTargetNames[i], kTargets[i]);
  }
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
