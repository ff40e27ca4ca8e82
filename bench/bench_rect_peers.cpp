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
#ifdef DORBMP_WITH_PIXMAN
#include <pixman.h>
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

// 1:1, half a pixel to the right and down: the mean of four pixels.
[[maybe_unused]] void add_half_pixel_opencv() {
#ifdef DORBMP_WITH_OPENCV
  const auto add_filter = [](const std::string& name, int channels, auto filter) {
    add("peer/opencv_" + name + (channels == 1 ? "/pal8/half_pixel" : "/rgb32/half_pixel"), kSource, channels,
        [=](Size size) {
          return [src = cv::Mat(size.height, size.width, CV_8UC(channels), cv::Scalar::all(70)),
                  dst = cv::Mat(size.height, size.width, CV_8UC(channels), cv::Scalar::all(0)),
                  filter]() mutable { filter(src, dst); };
        });
  };
  for (const int channels : {1, 4}) {
    add_filter("box2x2", channels, [](const cv::Mat& src, cv::Mat& dst) {
      cv::boxFilter(src, dst, -1, cv::Size(2, 2), cv::Point(0, 0), true, cv::BORDER_REPLICATE);
    });
    add_filter("warp", channels, [](const cv::Mat& src, cv::Mat& dst) {
      const cv::Matx23d shift(1, 0, 0.5, 0, 1, 0.5);
      cv::warpAffine(src, dst, shift, dst.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                     cv::BORDER_REPLICATE);
    });
  }
#endif
}

#ifdef DORBMP_WITH_LIBYUV
// Means of neighbouring bytes, then of neighbouring lines, a plane of some interleaved channels at a time.
void shift_half_pixel(const Bitmap& src, const Bitmap& between, const Bitmap& dst, int channels) {
  const int width = src.width * channels;
  libyuv::InterpolatePlane(src.pixels, src.pitch, src.pixels + channels, src.pitch, between.pixels,
                           between.pitch, width - channels, src.height, 128);
  libyuv::InterpolatePlane(between.pixels, between.pitch, between.pixels + between.pitch, between.pitch,
                           dst.pixels, dst.pitch, width, src.height - 1, 128);
}
#endif

[[maybe_unused]] void add_half_pixel_libyuv() {
#ifdef DORBMP_WITH_LIBYUV
  const auto add_planes = [](const std::string& name, int bytes, uint32_t format, bool with_chroma) {
    add("peer/libyuv_interpolate/" + name + "/half_pixel", kSource, bytes, [=](Size size) {
      const Size half = {size.width / 2, size.height};
      return [=, src = shared(size, format), between = shared(size, format), dst = shared(size, format),
              c = shared(half, format), c_between = shared(half, format), to_u = shared(half, format),
              to_v = shared(half, format), channels = format == BMP_FORMAT_RGB32 ? 4 : 1] {
        shift_half_pixel(*src, *between, *dst, channels);
        if (!with_chroma) return;
        shift_half_pixel(*c, *c_between, *to_u, channels);
        shift_half_pixel(*c, *c_between, *to_v, channels);
      };
    });
  };
  add_planes("pal8", 1, BMP_FORMAT_PAL8, false);
  add_planes("rgb32", 4, BMP_FORMAT_RGB32, false);
  add_planes("yuy2", 2, BMP_FORMAT_PAL8, true);
#endif
}

[[maybe_unused]] void add_half_pixel_pixman() {
#ifdef DORBMP_WITH_PIXMAN
  add("peer/pixman_bilinear/rgb32/half_pixel", kSource, 4, [](Size size) {
    const auto image = [&](const std::shared_ptr<Bitmap>& frame) {
      return std::shared_ptr<pixman_image_t>(
          pixman_image_create_bits(PIXMAN_x8r8g8b8, size.width, size.height,
                                   reinterpret_cast<uint32_t*>(frame->pixels), frame->pitch),
          pixman_image_unref);
    };
    const auto src = shared(size, BMP_FORMAT_RGB32), dst = shared(size, BMP_FORMAT_RGB32);
    const auto from = image(src), to = image(dst);
    pixman_transform_t shift;
    pixman_transform_init_translate(&shift, pixman_fixed_1 / 2, pixman_fixed_1 / 2);
    pixman_image_set_transform(from.get(), &shift);
    pixman_image_set_filter(from.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0);
    pixman_image_set_repeat(from.get(), PIXMAN_REPEAT_PAD);
    return [=] {
      pixman_image_composite32(PIXMAN_OP_SRC, from.get(), nullptr, to.get(), 0, 0, 0, 0, 0, 0, size.width,
                               size.height);
    };
  });
#endif
}

const bool registered = [] {
  for (size_t i = 0; i < std::size(kTargets); ++i) {
    add_opencv(kTargetNames[i], kTargets[i]);
    add_libyuv(kTargetNames[i], kTargets[i]);
    add_swscale(kTargetNames[i], kTargets[i]);
  }
  add_half_pixel_opencv();
  add_half_pixel_libyuv();
  add_half_pixel_pixman();
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
