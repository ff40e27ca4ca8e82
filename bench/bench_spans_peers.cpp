// The same turned picture by other libraries, where they are installed: one thread, nearest and bilinear.
#include "polygons.h"

#ifdef DORBMP_WITH_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef DORBMP_WITH_PIXMAN
#include <pixman.h>
#endif

namespace dorbmp::bench {
namespace {

// From destination to texture, row by row; the last row is 0 0 1 where the mapping is affine.
[[maybe_unused]] std::array<double, 9> texture_matrix(const TurnedQuad& quad) {
  const auto vertices = quad.vertices();
  // The unit square to a quadrilateral, after the classical solution, then both ways through it.
  const auto from_unit = [](const double(&x)[4], const double(&y)[4]) {
    const double dx1 = x[1] - x[2], dx2 = x[3] - x[2], sx = x[0] - x[1] + x[2] - x[3];
    const double dy1 = y[1] - y[2], dy2 = y[3] - y[2], sy = y[0] - y[1] + y[2] - y[3];
    const double det = dx1 * dy2 - dx2 * dy1;
    const double g = (sx * dy2 - dx2 * sy) / det, h = (dx1 * sy - sx * dy1) / det;
    return std::array<double, 9>{x[1] - x[0] + g * x[1],
                                 x[3] - x[0] + h * x[3],
                                 x[0],
                                 y[1] - y[0] + g * y[1],
                                 y[3] - y[0] + h * y[3],
                                 y[0],
                                 g,
                                 h,
                                 1.0};
  };
  double x[4], y[4];
  for (size_t i = 0; i < 4; ++i) {
    x[i] = vertices[i].x;
    y[i] = vertices[i].y;
  }
  const std::array<double, 9> m = from_unit(x, y);
  const double w = quad.texture.width, h = quad.texture.height;
  const auto minor = [&](int a, int b, int c, int d) {
    return m[static_cast<size_t>(a)] * m[static_cast<size_t>(d)] -
           m[static_cast<size_t>(b)] * m[static_cast<size_t>(c)];
  };
  std::array<double, 9> inverse = {minor(4, 5, 7, 8) * w,  -minor(1, 2, 7, 8) * w, minor(1, 2, 4, 5) * w,
                                   -minor(3, 5, 6, 8) * h, minor(0, 2, 6, 8) * h,  -minor(0, 2, 3, 5) * h,
                                   minor(3, 4, 6, 7),      -minor(0, 1, 6, 7),     minor(0, 1, 3, 4)};
  const double scale = inverse[8];
  for (double& element : inverse) element /= scale;
  return inverse;
}

#ifdef DORBMP_WITH_OPENCV
void opencv(benchmark::State& state, bool bilinear, const TurnedQuad& quad) {
  cv::setNumThreads(1);
  const bool perspective = quad.perspective;
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32),
              texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  const cv::Mat from(texture->height, texture->width, CV_8UC4, texture->pixels,
                     static_cast<size_t>(texture->pitch));
  cv::Mat to(dst->height, dst->width, CV_8UC4, dst->pixels, static_cast<size_t>(dst->pitch));
  const std::array<double, 9> m = texture_matrix(quad);
  cv::Mat matrix(perspective ? 3 : 2, 3, CV_64F);
  for (int i = 0; i < matrix.rows * 3; ++i) matrix.at<double>(i / 3, i % 3) = m[static_cast<size_t>(i)];
  const int flags = (bilinear ? cv::INTER_LINEAR : cv::INTER_NEAREST) | cv::WARP_INVERSE_MAP;
  for (auto _ : state) {
    if (perspective) {
      cv::warpPerspective(from, to, matrix, to.size(), flags, cv::BORDER_REPLICATE);
    } else {
      cv::warpAffine(from, to, matrix, to.size(), flags, cv::BORDER_REPLICATE);
    }
    benchmark::ClobberMemory();
  }
  report(state, kFullFrame.pixels(), kFullFrame.pixels() * 8);
}
#endif

#ifdef DORBMP_WITH_PIXMAN
void pixman(benchmark::State& state, bool bilinear, const TurnedQuad& quad) {
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32),
              texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  const auto image = [](const Frame& frame) {
    return pixman_image_create_bits(PIXMAN_a8r8g8b8, frame->width, frame->height,
                                    reinterpret_cast<uint32_t*>(frame->pixels), frame->pitch);
  };
  pixman_image_t* const from = image(texture);
  pixman_image_t* const to = image(dst);
  const std::array<double, 9> m = texture_matrix(quad);
  pixman_f_transform real;
  for (size_t i = 0; i < 9; ++i) real.m[i / 3][i % 3] = m[i];
  pixman_transform_t transform;
  pixman_transform_from_pixman_f_transform(&transform, &real);
  pixman_image_set_transform(from, &transform);
  pixman_image_set_filter(from, bilinear ? PIXMAN_FILTER_BILINEAR : PIXMAN_FILTER_NEAREST, nullptr, 0);
  pixman_image_set_repeat(from, PIXMAN_REPEAT_PAD);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_SRC, from, nullptr, to, 0, 0, 0, 0, 0, 0, dst->width, dst->height);
    benchmark::ClobberMemory();
  }
  pixman_image_unref(from);
  pixman_image_unref(to);
  report(state, kFullFrame.pixels(), kFullFrame.pixels() * 8);
}
#endif

// The library itself, beside them where its own benchmarks do not draw the quad.
void itself(benchmark::State& state, const TurnedQuad& quad) {
  const auto vertices = quad.vertices();
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32),
              texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  for (auto _ : state) {
    bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, vertices.data(), 4, 0);
    benchmark::ClobberMemory();
  }
  report(state, kFullFrame.pixels(), kFullFrame.pixels() * 8);
}

void register_peers([[maybe_unused]] const std::string& job, [[maybe_unused]] bool bilinear,
                    [[maybe_unused]] const TurnedQuad& quad) {
#ifdef DORBMP_WITH_OPENCV
  benchmark::RegisterBenchmark((job + "/opencv").c_str(),
                               [=](benchmark::State& state) { opencv(state, bilinear, quad); });
#endif
#ifdef DORBMP_WITH_PIXMAN
  benchmark::RegisterBenchmark((job + "/pixman").c_str(),
                               [=](benchmark::State& state) { pixman(state, bilinear, quad); });
#endif
}

[[maybe_unused]] const bool registered = [] {
  for (const bool bilinear : {false, true}) {
    for (const bool perspective : {false, true}) {
      register_peers(std::string("map_polygon/rgb32/") + (bilinear ? "bilinear" : "nearest") +
                         (perspective ? "/perspective" : "/affine"),
                     bilinear, {kFullFrame, kFullFrame, kCoveringZoom, perspective});
    }
  }
  for (const int degrees : {0, 45, 90}) {
    const TurnedQuad quad{kFullFrame, kFullFrame, kAlwaysCoveringZoom, false, degrees};
    const std::string job = "map_polygon/rgb32/bilinear/affine/" + std::to_string(degrees) + " degrees";
    benchmark::RegisterBenchmark((job + "/dorbmp").c_str(),
                                 [=](benchmark::State& state) { itself(state, quad); });
    register_peers(job, true, quad);
  }
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
