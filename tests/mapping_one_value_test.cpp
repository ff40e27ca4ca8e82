// bmp_map_polygon without a texture: one value, by opacity.
#include <gtest/gtest.h>

#include "support/polygons.h"

namespace dorbmp::test {
namespace {

TEST(MapPolygonOneValue, FillsByOpacity) {
  Random random(10);
  for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
    const bool yuy2 = format == BMP_FORMAT_YUY2;
    for (const int32_t opacity : {0, 1000, 4096, 9999}) {
      for (const int plane : {0, 16, 8}) {
        for (const uint32_t flags : {0u, 2u, 3u}) {
          Frame dst(24, 10, format, random);
          Frame cover(24, 10, plane == 8 ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16, random);
          clear(cover);
          std::vector<uint8_t> before = dst.bytes();
          const Vertices quad = rectangle(3.0f, 2.0f, 17.5f, 6.0f, 0.0f, 0.0f, 0.0f, 0.0f);
          bmp_map_polygon(&dst, plane != 0 ? &cover : nullptr, nullptr, BMP_VALUE(0xAA325AC8),
                          BMP_VALUE(opacity), quad.data(), 4, BMP_MAP_ONE_VALUE | flags);
          const int32_t o = std::min(opacity, 4096);
          for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 24; ++x) {
              const bool inside_line =
                  y >= 2 && y < 8 && ((flags & 2) == 0 || y % 2 == static_cast<int>(flags & 1));
              const auto weight_of = [&](int column) {
                const bool in = inside_line && column >= 3 && column <= 20;
                return !in ? 0 : column == 20 ? (o + 1) / 2 : o;
              };
              const int32_t weight = weight_of(x);
              for (int byte = 0; byte < (yuy2 ? 2 : 4); ++byte) {
                const int index = y * dst->pitch + x * (yuy2 ? 2 : 4) + byte;
                const int old = before[static_cast<size_t>(index)];
                constexpr int kYuyv[] = {0x32, 0x5A, 0x32, 0xC8}, kRgb[] = {0xC8, 0x5A, 0x32, 0};
                const int value = yuy2 ? kYuyv[x % 2 * 2 + byte] : kRgb[byte];
                int32_t share = !yuy2 && byte == 3 ? 0 : weight;
                // Chroma goes by the even pixel; with a clear plane nothing old counts.
                if (yuy2 && byte == 1) share = weight_of(x & ~1);
                int expected = (old * (4096 - share) + value * share + 2048) >> 12;
                if (plane != 0 && share > 0) expected = value;
                ASSERT_EQ(dst.bytes()[static_cast<size_t>(index)], expected)
                    << "format " << format << " opacity " << opacity << " plane " << plane << " flags "
                    << flags << " at " << x << "," << y << " byte " << byte;
              }
              const int units = plane == 8 ? 32 : 1;
              const int covered = plane == 8 ? cover.at<uint8_t>(x, y) : cover.at<uint16_t>(x, y);
              ASSERT_EQ(covered, plane == 0 ? 0 : (weight + units / 2) / units) << x << "," << y;
            }
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
