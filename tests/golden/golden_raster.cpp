#include <gtest/gtest.h>

#include "support/golden.h"

namespace dorbmp::test {
namespace {

TEST(Golden, Raster) {
  for (uint32_t format = 0; format < 8; ++format) {
    Random random(format);
    Frame src(45, 31, format, random), dst(45, 31, format, random);
    const auto check = [&](const char* name) {
      expect_golden(std::string("raster/") + name + "/format" + std::to_string(format), dst);
    };
    for (const uint32_t op : {BMP_OP_SET, BMP_OP_OR, BMP_OP_AND})
      bmp_draw_rect(&dst, 3, -2, 30, 20, 0x12345678, op);
    check("rect");
    for (uint32_t op = 0; op < 4; ++op) {
      bmp_draw_line(&dst, 2, 3, 40, 17, 0xA5, op << 4);
      bmp_draw_line(&dst, 20, 30, 11, 0, 0x3C, op << 4);
    }
    check("line");
    bmp_blt(&dst, -3, 4, 40, 22, &src, 5, -6, BMP_FRAME);
    bmp_blt(&dst, 10, 9, 30, 9, &src, 0, 2, BMP_FIELD_ONLY | BMP_FIELD_ODD);
    check("blt");
    bmp_copy(&dst, &src, BMP_FIELD_ONLY);
    check("copy");
    bmp_interporate(&dst, &src, BMP_FIELD_ODD);
    check("interpolate");
    bmp_clear(&dst, BMP_FIELD_ONLY | BMP_FIELD_ODD);
    check("clear");
  }
}

}  // namespace
}  // namespace dorbmp::test
