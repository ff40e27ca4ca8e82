// The same turned picture by other libraries, where they are installed: one thread, nearest and bilinear.
// Their lines stand beside those of slots 0 and 1.
#include <vector>

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
// Of packed 4:2:2, luma and chroma as pictures of their own.
struct Plane {
  int type;
  int width_divisor;
};
struct OpencvJob {
  const char* kind;
  uint32_t format;
  std::vector<Plane> planes;
};
const OpencvJob kOpencvJobs[] = {
    {"rgb32", BMP_FORMAT_RGB32, {{CV_8UC4, 1}}},
    {"key16", BMP_FORMAT_KEY16, {{CV_16UC1, 1}}},
    {"yuy2", BMP_FORMAT_YUY2, {{CV_8UC1, 1}, {CV_8UC2, 2}}},
};

void opencv(benchmark::State& state, const OpencvJob& job, bool bilinear, const TurnedQuad& quad) {
  cv::setNumThreads(1);
  const Size size = quad.texture;
  const bool perspective = quad.perspective;
  const Frame dst = make_frame(kFullFrame, job.format), texture = make_frame(size, job.format);
  const std::array<double, 9> m = texture_matrix(quad);
  const int flags = (bilinear ? cv::INTER_LINEAR : cv::INTER_NEAREST) | cv::WARP_INVERSE_MAP;
  for (auto _ : state) {
    uint8_t *from_plane = texture->pixels, *to_plane = dst->pixels;
    for (const Plane& plane : job.planes) {
      const cv::Mat from(size.height, size.width / plane.width_divisor, plane.type, from_plane);
      cv::Mat to(kFullFrame.height, kFullFrame.width / plane.width_divisor, plane.type, to_plane);
      cv::Mat matrix(perspective ? 3 : 2, 3, CV_64F);
      for (int i = 0; i < matrix.rows * 3; ++i) {
        // Both sides are as much narrower.
        const double narrowed =
            (i % 3 == 0 ? plane.width_divisor : 1.0) / (i < 3 ? plane.width_divisor : 1.0);
        matrix.at<double>(i / 3, i % 3) = m[static_cast<size_t>(i)] * narrowed;
      }
      if (perspective) {
        cv::warpPerspective(from, to, matrix, to.size(), flags, cv::BORDER_REPLICATE);
      } else {
        cv::warpAffine(from, to, matrix, to.size(), flags, cv::BORDER_REPLICATE);
      }
      from_plane += from.total() * from.elemSize();
      to_plane += to.total() * to.elemSize();
    }
    benchmark::ClobberMemory();
  }
  report(state, kFullFrame.pixels(), 2 * int64_t{dst->pitch} * dst->height);
}
#endif

#ifdef DORBMP_WITH_PIXMAN
// matte: a colour through the picture.
void pixman(benchmark::State& state, bool matte, bool bilinear, const TurnedQuad& quad) {
  const Size size = quad.texture;
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32),
              texture = make_frame(size, matte ? BMP_FORMAT_KEY8 : BMP_FORMAT_RGB32);
  const auto image = [](const Frame& frame, pixman_format_code_t format) {
    return pixman_image_create_bits(format, frame->width, frame->height,
                                    reinterpret_cast<uint32_t*>(frame->pixels), frame->pitch);
  };
  pixman_image_t* const from = image(texture, matte ? PIXMAN_a8 : PIXMAN_a8r8g8b8);
  pixman_image_t* const to = image(dst, PIXMAN_x8r8g8b8);
  const pixman_color_t color = {0x8080, 0x4040, 0x2020, 0xFFFF};
  pixman_image_t* const fill = pixman_image_create_solid_fill(&color);
  const std::array<double, 9> m = texture_matrix(quad);
  pixman_f_transform real;
  for (size_t i = 0; i < 9; ++i) real.m[i / 3][i % 3] = m[i];
  pixman_transform_t transform;
  pixman_transform_from_pixman_f_transform(&transform, &real);
  pixman_image_set_transform(from, &transform);
  pixman_image_set_filter(from, bilinear ? PIXMAN_FILTER_BILINEAR : PIXMAN_FILTER_NEAREST, nullptr, 0);
  pixman_image_set_repeat(from, PIXMAN_REPEAT_PAD);
  for (auto _ : state) {
    pixman_image_composite32(matte ? PIXMAN_OP_OVER : PIXMAN_OP_SRC, matte ? fill : from,
                             matte ? from : nullptr, to, 0, 0, 0, 0, 0, 0, dst->width, dst->height);
    benchmark::ClobberMemory();
  }
  pixman_image_unref(fill);
  pixman_image_unref(from);
  pixman_image_unref(to);
  report(state, kFullFrame.pixels(), kFullFrame.pixels() * 8);
}
#endif

// The library itself, beside them where its own benchmarks do not draw the quad.
void itself(benchmark::State& state, const TurnedQuad& quad) {
  const auto vertices = quad.vertices();
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32),
              texture = make_frame(quad.texture, BMP_FORMAT_RGB32);
  for (auto _ : state) {
    bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, vertices.data(), 4, 0);
    benchmark::ClobberMemory();
  }
  report(state, kFullFrame.pixels(), kFullFrame.pixels() * 8);
}

// line: kind and slot.
void register_rgb32_peers([[maybe_unused]] const std::string& line, [[maybe_unused]] bool bilinear,
                          [[maybe_unused]] const TurnedQuad& quad) {
#ifdef DORBMP_WITH_OPENCV
  benchmark::RegisterBenchmark((line + "/opencv").c_str(), [=](benchmark::State& state) {
    opencv(state, kOpencvJobs[0], bilinear, quad);
  });
#endif
#ifdef DORBMP_WITH_PIXMAN
  benchmark::RegisterBenchmark((line + "/pixman").c_str(),
                               [=](benchmark::State& state) { pixman(state, false, bilinear, quad); });
#endif
}

[[maybe_unused]] const bool registered = [] {
  for (const bool bilinear : {false, true}) {
    for (const bool perspective : {false, true}) {
      const TurnedQuad quad{texture_for(1), kFullFrame, kCovering, perspective};
      const std::string line =
          std::string(perspective ? "_perspective" : "_affine") + (bilinear ? "/slot1" : "/slot0");
      register_rgb32_peers("span/rgb32" + line, bilinear, quad);
#ifdef DORBMP_WITH_OPENCV
      for (const OpencvJob* job : {&kOpencvJobs[1], &kOpencvJobs[2]}) {
        benchmark::RegisterBenchmark(("span/" + std::string(job->kind) + line + "/opencv").c_str(),
                                     [=](benchmark::State& state) { opencv(state, *job, bilinear, quad); });
      }
#endif
    }
  }
#ifdef DORBMP_WITH_PIXMAN
  benchmark::RegisterBenchmark("span/matte_rgb32/slot1/pixman", [](benchmark::State& state) {
    pixman(state, true, true, {texture_for(1), kFullFrame, kCovering, true});
  });
#endif
  for (const int degrees : {0, 45, 90}) {
    const TurnedQuad quad{kFullFrame, kFullFrame, kAlwaysCovering, false, degrees};
    const std::string line = "span/rgb32_affine/slot1 at " + std::to_string(degrees) + " degrees";
    benchmark::RegisterBenchmark((line + "/dorbmp").c_str(),
                                 [=](benchmark::State& state) { itself(state, quad); });
    register_rgb32_peers(line, true, quad);
  }
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
