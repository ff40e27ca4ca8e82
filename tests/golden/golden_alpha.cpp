#include <gtest/gtest.h>

#include "support/golden.h"

namespace dorbmp::test {
namespace {

TEST(Golden, Alpha) {
  Random random(1);
  Frame plane(150, 90, BMP_FORMAT_KEY16, random);
  const auto check = [&](const std::string& name) { expect_golden("alpha/" + name, plane); };

  bmp_alpha_circle(&plane, 70.3f, 44.8f, 39.7f, 0, 1, BMP_FRAME);
  check("disc_hard");
  bmp_alpha_circle(&plane, 60.7f, 80.1f, 50.2f, 20.5f, 2, BMP_FIELD_ONLY);
  check("disc_linear");
  bmp_alpha_circle(&plane, 141.25f, 20, 60, 71, 1.25f, BMP_ALPHA_COSINE | BMP_FIELD_ONLY | BMP_FIELD_ODD);
  check("disc_cosine");

  bmp_alpha_rect(&plane, -3.4f, 10.6f, 80.3f, 50.2f, 0, 0, BMP_ALPHA_ADD);
  bmp_alpha_rect(&plane, 33.3f, -20.1f, 50.5f, 77.7f, 0, 0, BMP_ALPHA_MAX | BMP_FIELD_ONLY);
  check("rect_plain");
  for (const uint32_t combination : {BMP_ALPHA_ADD, BMP_ALPHA_MAX}) {
    const std::string end = combination == BMP_ALPHA_ADD ? "_add" : "_max";
    const uint32_t rounded = BMP_ALPHA_ROUNDED | combination;
    bmp_alpha_rect(&plane, 10.7f, 5.3f, 120.6f, 70.9f, 33.3f, 21.1f, rounded | BMP_ALPHA_HARD);
    check("rect_hard" + end);
    bmp_alpha_rect(&plane, -20.2f, 12.1f, 140.4f, 70.9f, 35.3f, 20.7f, rounded | BMP_ALPHA_SOFT);
    check("rect_linear" + end);
    bmp_alpha_rect(&plane, 40.9f, -31.3f, 100.1f, 100.9f, 60, 43,
                   rounded | BMP_ALPHA_SOFT | BMP_ALPHA_COSINE);
    check("rect_cosine" + end);
  }
  // Radii for each number of samples a pixel takes.
  bmp_clear(&plane, BMP_FRAME);
  bmp_alpha_rect(&plane, 2, 3, 9000, 500, 900, 200, BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT);
  bmp_alpha_rect(&plane, 50.5f, 30.25f, 9000, 9000, 900, 600,
                 BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT | BMP_ALPHA_COSINE);
  check("rect_large");
}

}  // namespace
}  // namespace dorbmp::test
