// Filter classes: the thresholds from both sides, and the ratios of polygons drawn by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "dorbmp/mapping/polygon/filter_class.h"
#include "models/polygon_model.h"

namespace dorbmp::test {
namespace {

using namespace mapping;

TEST(FilterClass, Thresholds) {
  const float horizontal[] = {1.34f, 2.01f, 2.68f, 5.36f};
  const float vertical[] = {1.005f, 1.34f, 2.68f};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(choose_filter({std::nextafter(horizontal[i], 0.0f), 0.5f}, false).slot, 1 + i) << i;
    EXPECT_EQ(choose_filter({horizontal[i], 0.5f}, false).slot, 2 + i) << i;
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(choose_filter({0.5f, std::nextafter(vertical[i], 0.0f)}, false).slot, 1 + 5 * i) << i;
    EXPECT_EQ(choose_filter({0.5f, vertical[i]}, false).slot, 6 + 5 * i) << i;
  }
}

TEST(FilterClass, BiasesAndMargins) {
  for (const float h : {0.0f, 1.5f, 2.5f, 3.0f, 100.0f}) {
    for (const float v : {0.0f, 1.2f, 2.0f, 50.0f}) {
      const Filter filter = choose_filter({h, v}, false);
      const FilterModel model = filter_by_ratios(h, v);
      EXPECT_EQ(filter.slot, model.slot);
      EXPECT_EQ(filter.u_bias, model.u_bias) << h;
      EXPECT_EQ(filter.v_bias, model.v_bias) << v;
      EXPECT_EQ(static_cast<float>(filter.u_margin), model.u_margin) << h;
      EXPECT_EQ(static_cast<float>(filter.v_margin), model.v_margin) << v;
    }
  }
  // 8-bit textures stop one class earlier, with that class's own numbers.
  const Filter widest = choose_filter({9.0f, 9.0f}, true);
  EXPECT_EQ(widest.slot, 19);
  EXPECT_EQ(widest.u_bias, -131072.0f);
  EXPECT_EQ(widest.u_margin, 196624);
  EXPECT_EQ(choose_filter({9.0f, 2.0f}, true).slot, 15);
  EXPECT_EQ(kNoFilter.slot, 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(choose_filter({nan, nan}, false).slot, 1);
}

// Texture width x height shown as a rectangle turned by an angle.
Minification turned(float width, float height, float shown_width, float shown_height, float angle,
                    float v_scale = 1.0f) {
  const float c = std::cos(angle), s = std::sin(angle);
  PolygonVertex v[4];
  for (int i = 0; i < 4; ++i) {
    const float fx = i == 1 || i == 2 ? 1.0f : 0.0f, fy = i >= 2 ? 1.0f : 0.0f;
    const float x = fx * shown_width, y = fy * shown_height;
    v[i] = {fx * width, fy * height, 1.0f, 300.0f + c * x - s * y, 200.0f + s * x + c * y};
  }
  return minification(v, 4, v_scale);
}

TEST(FilterClass, Ratios) {
  const auto near = [](const Minification& got, float horizontal, float vertical) {
    EXPECT_NEAR(got.horizontal, horizontal, 1e-4f);
    EXPECT_NEAR(got.vertical, vertical, 1e-4f);
  };
  near(turned(134.0f, 50.0f, 100.0f, 50.0f, 0.0f), 1.34f, 1.0f);
  near(turned(100.0f, 300.0f, 100.0f, 100.0f, 0.0f), 1.0f, 3.0f);
  near(turned(100.0f, 300.0f, 100.0f, 100.0f, 0.0f, 0.5f), 1.0f, 1.5f);
  // Turning a picture does not shrink it.
  for (const float angle : {0.3f, 1.0f, 1.5707964f, 2.5f, -0.7f}) {
    near(turned(160.0f, 90.0f, 160.0f, 90.0f, angle), 1.0f, 1.0f);
    near(turned(320.0f, 180.0f, 160.0f, 90.0f, angle), 2.0f, 2.0f);
  }
  // One texel everywhere: no direction to go by.
  near(turned(0.0f, 0.0f, 10.0f, 10.0f, 0.0f), 0.0f, 0.0f);
}

}  // namespace
}  // namespace dorbmp::test
