// The same picture turned, in perspective too, by another library: bilinear, away from the edges.
#include <gtest/gtest.h>

#ifdef DORBMP_WITH_OPENCV

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "support/frames.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

constexpr int kWidth = 320, kHeight = 240;

cv::Mat view(Frame& frame) {
  return {frame->height, frame->width, CV_8UC4, frame.row(0), static_cast<size_t>(frame->pitch)};
}

// Texture corners and where they go, with pixel centres at whole numbers as the other library has them.
cv::Mat matrix_of(const PolygonVertex (&quad)[4], bool perspective) {
  cv::Point2f from[4], to[4];
  for (int i = 0; i < 4; ++i) {
    from[i] = {quad[i].u - 0.5f, quad[i].v - 0.5f};
    to[i] = {quad[i].x - 0.5f, quad[i].y - 0.5f};
  }
  // Three points make an affine mapping.
  return perspective ? cv::getPerspectiveTransform(from, to) : cv::getAffineTransform(from, to);
}

double mean_difference(Frame& ours, Frame& theirs, Frame& inside) {
  double sum = 0.0;
  int64_t count = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (inside.at<uint16_t>(x, y) == 0) continue;
      for (int c = 0; c < 4; ++c) sum += std::abs(ours.row(y)[4 * x + c] - theirs.row(y)[4 * x + c]);
      count += 4;
    }
  }
  EXPECT_GT(count, 40000);
  return sum / static_cast<double>(count);
}

TEST(MapPolygonPeers, BilinearAgreesWithOpenCv) {
  Random random(1);
  Frame texture(kWidth, kHeight, BMP_FORMAT_RGB32, random), ours(kWidth, kHeight, BMP_FORMAT_RGB32, random);
  Frame theirs(kWidth, kHeight, BMP_FORMAT_RGB32, random), inside(kWidth, kHeight, BMP_FORMAT_KEY16, random);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (int c = 0; c < 4; ++c) {
        const double wave = std::sin(x * 0.05 * (c + 1)) * std::cos(y * 0.07) + std::sin((x + y) * 0.11);
        texture.row(y)[4 * x + c] = static_cast<uint8_t>(127.5 + 63.0 * wave);
      }
    }
  }
  for (const int level : {0, 2, 4}) {
    if (level > kHighestLevel) continue;
    const AtLevel at(level);
    for (const bool perspective : {false, true}) {
      for (const float turn : {0.1f, 0.7f, 2.0f}) {
        PolygonVertex quad[4], inner[4];
        const float w = kWidth, h = kHeight;
        for (int i = 0; i < 4; ++i) {
          const float u = i == 1 || i == 2 ? w : 0.0f, v = i >= 2 ? h : 0.0f;
          const auto corner = [&](float scale) {
            const float x = (u - w / 2) * scale, y = (v - h / 2) * scale;
            const float depth = perspective ? 1.0f + 0.15f * y / h : 1.0f;
            return PolygonVertex{u, v, 1.0f / depth,
                                 w / 2 + (std::cos(turn) * x - std::sin(turn) * y) / depth,
                                 h / 2 + (std::sin(turn) * x + std::cos(turn) * y) / depth};
          };
          quad[i] = corner(1.1f);
          inner[i] = corner(1.05f);
        }
        bmp_map_polygon(&ours, nullptr, nullptr, &texture, nullptr, quad, 4, 0);
        std::memset(inside.row(0), 0, static_cast<size_t>(inside->pitch) * kHeight);
        Frame ones(1, 1, BMP_FORMAT_KEY16, random);
        ones.set(0, 0, uint16_t{1});
        bmp_map_polygon(&inside, nullptr, nullptr, &ones, nullptr, inner, 4, BMP_MAP_NEAREST);

        const cv::Mat matrix = matrix_of(quad, perspective);
        cv::Mat result = view(theirs);
        if (perspective) {
          cv::warpPerspective(view(texture), result, matrix, result.size(), cv::INTER_LINEAR);
        } else {
          cv::warpAffine(view(texture), result, matrix, result.size(), cv::INTER_LINEAR);
        }
        EXPECT_LT(mean_difference(ours, theirs, inside), 0.5)
            << "level " << level << " perspective " << perspective << " turn " << turn;
      }
    }
  }
}

}  // namespace
}  // namespace dorbmp::test

#else

TEST(MapPolygonPeers, BilinearAgreesWithOpenCv) {
  GTEST_SKIP() << "built without OpenCV";
}

#endif
