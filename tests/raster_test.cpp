#include <gtest/gtest.h>

#include <climits>
#include <functional>

#include "support/frames.h"

namespace dorbmp::test {
namespace {

constexpr int32_t kWild[] = {INT_MIN, INT_MIN + 1, -70000, -1, 0, 1, 5, 70000, INT_MAX - 1, INT_MAX};

int32_t wild(Random& random) {
  return kWild[random.between(0, std::size(kWild) - 1)];
}

// ---- Fills ----

// Pixel by pixel over the whole bitmap.
void model_rect(Frame& frame, int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t value,
                uint32_t op) {
  for (int32_t y = std::max(top, 0); y < std::min(bottom, frame->height); ++y) {
    for (int32_t x = std::max(left, 0); x < std::min(right, frame->width); ++x) {
      if (frame->format == BMP_FORMAT_RGB32 && op == 0) frame.set(x, y, value);
      if (frame->format == BMP_FORMAT_KEY16 && op == 0) frame.set(x, y, static_cast<uint16_t>(value));
      if (frame->format != BMP_FORMAT_PAL8) continue;
      const uint8_t old = frame.at<uint8_t>(x, y);
      if (op == 0x10) frame.set(x, y, static_cast<uint8_t>(old | value));
      if (op == 0x20) frame.set(x, y, static_cast<uint8_t>(old & value));
    }
  }
}

TEST(Raster, RectanglesAreClippedOnAllSides) {
  for (uint64_t seed = 0; seed < 6000; ++seed) {
    Random random(seed);
    const uint32_t format = static_cast<uint32_t>(random.between(0, 7));
    Frame frame(random.between(1, 40), random.between(1, 9), format, random,
                {.offset = random.between(0, 1) * 4});
    const auto coordinate = [&] { return random.chance(8) ? wild(random) : random.between(-8, 45); };
    const int32_t left = coordinate(), top = coordinate(), right = coordinate(), bottom = coordinate();
    const uint32_t value = random.next();
    const uint32_t op = random.chance(2) ? 0 : static_cast<uint32_t>(random.between(0, 7)) * 0x10;
    const auto before = frame.bytes();
    model_rect(frame, left, top, right, bottom, value, op);
    const auto expected = frame.bytes();
    frame.set_bytes(before);
    bmp_draw_rect(&frame, left, top, right, bottom, value, op);
    EXPECT_EQ(difference(expected, frame), "") << "seed " << seed << ", format " << format << ", op " << op;
  }
}

// Rows long enough for the quickest way to fill them, whole lines and parts, odd pixels at either end.
TEST(Raster, LongRowsAreFilled) {
  for (const uint32_t format : {BMP_FORMAT_RGB32, BMP_FORMAT_KEY16}) {
    for (const int32_t width : {511, 512, 513, 1024}) {
      for (const int32_t left : {0, 1, 3}) {
        for (const int32_t cut : {0, 1, 2}) {
          Random random(static_cast<uint64_t>(width));
          Frame frame(width, 3, format, random, {.offset = 2});
          const auto before = frame.bytes();
          model_rect(frame, left, 0, width - cut, 2, 0x12345678, BMP_OP_SET);
          const auto expected = frame.bytes();
          frame.set_bytes(before);
          bmp_draw_rect(&frame, left, 0, width - cut, 2, 0x12345678, BMP_OP_SET);
          EXPECT_EQ(difference(expected, frame), "")
              << "format " << format << ", " << left << " to " << width - cut;
        }
      }
    }
  }
}

// ---- Lines ----

// The stepping rule in wide numbers, a test per pixel instead of a clip.
void model_line(Frame& frame, int64_t x0, int64_t y0, int64_t x1, int64_t y1,
                const std::function<int(int)>& operation) {
  const int64_t dx = std::abs(x1 - x0), dy = std::abs(y1 - y0);
  const int64_t step_x = x1 < x0 ? -1 : 1, step_y = y1 < y0 ? -1 : 1;
  const bool steep = dy > dx;
  const int64_t major = steep ? dy : dx, minor = steep ? dx : dy;
  int64_t error = major / 2;
  for (int64_t i = 0; i < major; ++i) {
    if (x0 >= 0 && x0 < frame->width && y0 >= 0 && y0 < frame->height) {
      const auto x = static_cast<int32_t>(x0), y = static_cast<int32_t>(y0);
      frame.set(x, y, static_cast<uint8_t>(operation(frame.at<uint8_t>(x, y))));
    }
    (steep ? y0 : x0) += steep ? step_y : step_x;
    error -= minor;
    if (error <= 0 && minor != 0) {
      (steep ? x0 : y0) += steep ? step_x : step_y;
      error += major;
    }
  }
}

TEST(Raster, LinesInAllOctants) {
  constexpr int kSide = 21;
  for (uint64_t seed = 0; seed < 5000; ++seed) {
    Random random(seed);
    Frame frame(kSide, kSide, BMP_FORMAT_PAL8, random, {.extra_pitch = 3});
    const bool inside = !random.chance(3);
    const auto coordinate = [&] { return inside ? random.between(0, kSide - 1) : random.between(-40, 60); };
    const int32_t x0 = coordinate(), y0 = coordinate(), x1 = coordinate(), y1 = coordinate();
    const int value = random.between(0, 255);
    const int code = random.between(0, 3);
    const auto operation = [&](int old) {
      return code == 0 ? value : code == 1 ? old | value : code == 2 ? old & value : old ^ value;
    };
    const auto before = frame.bytes();
    model_line(frame, x0, y0, x1, y1, operation);
    const auto expected = frame.bytes();
    frame.set_bytes(before);
    bmp_draw_line(&frame, x0, y0, x1, y1, static_cast<uint32_t>(value) | 0xABC00u,
                  static_cast<uint32_t>(code) * 0x10 | 0x10F);
    EXPECT_EQ(difference(expected, frame), "")
        << "seed " << seed << ": " << x0 << "," << y0 << " to " << x1 << "," << y1 << " code " << code;
  }
}

// The pixels of known lines: start included, end excluded, the minor step on an error of exactly 0.
TEST(Raster, LineEndsAndTies) {
  const struct {
    int32_t line[4];
    std::vector<std::pair<int32_t, int32_t>> pixels;
  } kLines[] = {
      {{0, 0, 4, 0}, {{0, 0}, {1, 0}, {2, 0}, {3, 0}}},
      {{4, 0, 0, 0}, {{4, 0}, {3, 0}, {2, 0}, {1, 0}}},
      {{0, 0, 0, 0}, {}},
      {{0, 0, 4, 2}, {{0, 0}, {1, 1}, {2, 1}, {3, 2}}},
      {{0, 0, 3, 3}, {{0, 0}, {1, 1}, {2, 2}}},
      {{2, 3, 2, 1}, {{2, 3}, {2, 2}}},
  };
  for (const auto& [line, pixels] : kLines) {
    Random random(1);
    Frame frame(5, 5, BMP_FORMAT_PAL8, random);
    bmp_clear(&frame, 0);
    auto expected = frame.bytes();
    for (const auto& [x, y] : pixels) expected[static_cast<size_t>(y * frame->pitch + x)] = 9;
    bmp_draw_line(&frame, line[0], line[1], line[2], line[3], 9, BMP_OP_SET);
    EXPECT_EQ(difference(expected, frame), "");
  }
}

TEST(Raster, LinesDrawNothingElsewhere) {
  Random random(2);
  for (uint32_t format = 0; format < 8; ++format) {
    for (const uint32_t op : {0x00u, 0x40u, 0x50u, 0x60u, 0x70u}) {
      if (format == BMP_FORMAT_PAL8 && op == 0) continue;
      Frame frame(9, 9, format, random);
      const auto before = frame.bytes();
      bmp_draw_line(&frame, 0, 0, 5, 3, 77, op);
      EXPECT_EQ(difference(before, frame), "") << "format " << format << ", op " << op;
    }
  }
}

// Distances up to 2^32: the clip must be exact arithmetic, and quick.
TEST(Raster, LinesOfAnyLengthStayInside) {
  Random random(3);
  Frame frame(50, 50, BMP_FORMAT_PAL8, random);
  for (int i = 0; i < 20000; ++i) {
    bmp_draw_line(&frame, wild(random), wild(random), wild(random), wild(random), 1, BMP_OP_XOR);
  }
  bmp_clear(&frame, 0);
  bmp_draw_line(&frame, INT_MIN, INT_MIN, INT_MAX, INT_MAX, 5, BMP_OP_SET);
  for (int32_t k = 0; k < 50; ++k) EXPECT_EQ(frame.at<uint8_t>(k, k), 5) << k;
}

// ---- Copies ----

TEST(Raster, CopiesFramesAndFields) {
  for (uint64_t seed = 0; seed < 400; ++seed) {
    Random random(seed);
    const uint32_t format = static_cast<uint32_t>(random.between(0, 7)),
                   flags = static_cast<uint32_t>(random.between(0, 3));
    const int32_t width = random.between(1, 40), height = random.between(0, 9);
    Frame src(width, height, format, random, {.offset = random.between(0, 9)});
    Frame dst(width, height, format, random, {.offset = random.between(0, 9)});
    auto expected = dst.bytes();
    for (int32_t y = 0; y < height; ++y) {
      if ((flags & 2) != 0 && (y & 1) != static_cast<int32_t>(flags & 1)) continue;
      std::copy_n(src.row(y), src->pitch,
                  expected.begin() + static_cast<ptrdiff_t>(dst.offset()) + y * dst->pitch);
    }
    bmp_copy(&dst, &src, flags);
    EXPECT_EQ(difference(expected, dst), "") << "seed " << seed << ", flags " << flags;
  }
}

// Unequal geometries are outside the contract: what fits is copied.
TEST(Raster, CopiesStayInsideBothBitmaps) {
  for (uint64_t seed = 0; seed < 400; ++seed) {
    Random random(seed);
    Frame src(random.between(1, 40), random.between(0, 9), BMP_FORMAT_YUY2, random);
    Frame dst(random.between(1, 40), random.between(0, 9), BMP_FORMAT_RGB32, random);
    for (uint32_t flags = 0; flags < 4; ++flags) bmp_copy(&dst, &src, flags);
  }
}

struct Block {
  int32_t dest_x, dest_y, width, height, src_x, src_y;
};

// Step by step as the clipping is told, on whole pixels.
void model_blt(Frame& dst, Frame& src, Block b, uint32_t flags) {
  int64_t right = int64_t{b.src_x} + b.width, bottom = int64_t{b.src_y} + b.height;
  int64_t dest_x = b.dest_x, dest_y = b.dest_y, width = b.width, height = b.height, src_x = b.src_x,
          src_y = b.src_y;
  if (src_x >= src->width || src_y >= src->height || right <= 0 || bottom <= 0) return;
  if (src_x < 0) dest_x -= src_x, width = right, src_x = 0;
  if (src_y < 0) dest_y -= src_y, height = bottom, src_y = 0;
  if (right > src->width) width -= right - src->width;
  if (bottom > src->height) height -= bottom - src->height;
  right = dest_x + width, bottom = dest_y + height;
  if (dest_x >= dst->width || dest_y >= dst->height || right <= 0 || bottom <= 0) return;
  if (dest_x < 0) width = right, dest_x = 0;
  if (dest_y < 0) height = bottom, dest_y = 0;
  if (right > dst->width) width -= right - dst->width;
  if (bottom > dst->height) height -= bottom - dst->height;
  int64_t step = 1;
  if ((flags & 2) != 0) {
    step = 2;
    if (((dest_y ^ flags) & 1) != 0) ++src_y, ++dest_y, --height;
    height = (height + 1) / 2;
  }
  const size_t bytes = static_cast<size_t>(dst->bytes_per_pixel);
  for (int64_t y = 0; y < height; ++y) {
    for (int64_t x = 0; x < width; ++x) {
      std::memmove(dst.row(static_cast<int32_t>(dest_y + y * step)) + static_cast<size_t>(dest_x + x) * bytes,
                   src.row(static_cast<int32_t>(src_y + y * step)) + static_cast<size_t>(src_x + x) * bytes,
                   bytes);
    }
  }
}

TEST(Raster, BlockTransfersAreClippedToBoth) {
  for (uint64_t seed = 0; seed < 20000; ++seed) {
    Random random(seed);
    const uint32_t format = static_cast<uint32_t>(random.between(0, 7));
    Frame src(random.between(1, 20), random.between(1, 12), format, random);
    Frame dst(random.between(1, 20), random.between(1, 12), format, random, {.offset = random.between(0, 3)});
    const auto number = [&] { return random.chance(20) ? wild(random) : random.between(-12, 24); };
    const Block block{number(), number(), number(), number(), number(), number()};
    const uint32_t flags = static_cast<uint32_t>(random.between(0, 3));
    const auto before = dst.bytes();
    model_blt(dst, src, block, flags);
    const auto expected = dst.bytes();
    dst.set_bytes(before);
    bmp_blt(&dst, block.dest_x, block.dest_y, block.width, block.height, &src, block.src_x, block.src_y,
            flags);
    EXPECT_EQ(difference(expected, dst), "")
        << "seed " << seed << ": " << block.dest_x << "," << block.dest_y << " " << block.width << " x "
        << block.height << " from " << block.src_x << "," << block.src_y << " flags " << flags;
  }
}

// Within one bitmap lines go from the top, and each line forwards in 32-bit words: a move to the right
// repeats.
TEST(Raster, BlockTransfersWithinOneBitmap) {
  for (uint64_t seed = 0; seed < 2000; ++seed) {
    Random random(seed);
    Frame frame(40, 6, BMP_FORMAT_PAL8, random);
    const int32_t width = random.between(1, 30), dest_x = random.between(0, 10),
                  src_x = random.between(0, 10);
    const int32_t dest_y = random.between(0, 2), src_y = random.between(0, 2), height = random.between(1, 4);
    auto expected = frame.bytes();
    for (int32_t y = 0; y < height; ++y) {
      uint8_t* to = expected.data() + (dest_y + y) * frame->pitch + dest_x;
      const uint8_t* from = expected.data() + (src_y + y) * frame->pitch + src_x;
      for (int32_t x = 0; x < width / 4 * 4; x += 4) {
        uint32_t word;
        std::memcpy(&word, from + x, 4);
        std::memcpy(to + x, &word, 4);
      }
      for (int32_t x = width / 4 * 4; x < width; ++x) to[x] = from[x];
    }
    bmp_blt(&frame, dest_x, dest_y, width, height, &frame, src_x, src_y, 0);
    EXPECT_EQ(difference(expected, frame), "") << "seed " << seed;
  }
}

TEST(Raster, BlockTransfersBetweenUnequalPixelsStayInside) {
  for (uint64_t seed = 0; seed < 500; ++seed) {
    Random random(seed);
    Frame src(random.between(1, 20), 4, BMP_FORMAT_KEY8, random),
        dst(random.between(1, 20), 4, BMP_FORMAT_RGB32, random);
    bmp_blt(&dst, random.between(-4, 8), 0, random.between(1, 20), 4, &src, random.between(-4, 8), 0, 0);
    bmp_blt(&src, random.between(-4, 8), 0, random.between(1, 20), 4, &dst, random.between(-4, 8), 0, 0);
  }
}

// ---- Field interpolation ----

TEST(Raster, InterpolationRebuildsTheOtherField) {
  for (int32_t height = 1; height <= 12; ++height) {
    for (uint32_t parity = 0; parity <= 1 && static_cast<int32_t>(parity) < height; ++parity) {
      for (const bool in_place : {false, true}) {
        Random random(static_cast<uint64_t>(height));
        Frame src(11, height, BMP_FORMAT_YUY2, random),
            other(11, height, BMP_FORMAT_YUY2, random, {.offset = 5});
        Frame& dst = in_place ? src : other;
        // Every line from the nearest field lines above and below it.
        auto expected = dst.bytes();
        for (int32_t y = 0; y < height; ++y) {
          const int32_t p = static_cast<int32_t>(parity);
          int32_t above = (y & 1) == p ? y : y - 1, below = (y & 1) == p ? y : y + 1;
          if (above < 0) above = below;
          if (below >= height) below = above;
          for (int32_t i = 0; i < dst->pitch; ++i) {
            expected[dst.offset() + static_cast<size_t>(y * dst->pitch + i)] =
                static_cast<uint8_t>((src.row(above)[i] + src.row(below)[i] + 1) / 2);
          }
        }
        bmp_interporate(&dst, &src, parity | 2);
        EXPECT_EQ(difference(expected, dst), "") << "height " << height << ", parity " << parity;
      }
    }
  }
}

TEST(Raster, InterpolationOutsideItsContractDrawsNothing) {
  Random random(1);
  Frame dst(8, 1, BMP_FORMAT_YUY2, random), tall(8, 4, BMP_FORMAT_YUY2, random),
      wide(16, 4, BMP_FORMAT_YUY2, random);
  const auto before = dst.bytes(), tall_before = tall.bytes();
  bmp_interporate(&dst, &tall, 1);
  EXPECT_EQ(difference(before, dst), "");
  bmp_interporate(&tall, &dst, 0);
  bmp_interporate(&tall, &wide, 0);
  EXPECT_EQ(difference(tall_before, tall), "");
}

}  // namespace
}  // namespace dorbmp::test
