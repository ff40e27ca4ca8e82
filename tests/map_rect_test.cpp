#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "support/levels.h"
#include "support/map_rect.h"

namespace dorbmp::test {
namespace {

struct Range {
  float low, high;
};

// Mostly between two sides of a bitmap, sometimes on whole or half pixels, sometimes beyond the sides.
Range any_range(Random& random, int32_t size) {
  const float side = static_cast<float>(size);
  const float slack = random.chance(3) ? side * 0.4f : 0.0f;
  Range range = {random.real(-slack, side + slack), random.real(-slack, side + slack)};
  if (range.high < range.low) std::swap(range.low, range.high);
  if (random.chance(3)) {
    range.low = std::floor(range.low * 2) / 2;
    range.high = std::ceil(range.high * 2) / 2;
  }
  return range;
}

// A direction of a mapping: any scale, 1:1 or a simple ratio.
std::pair<Range, Range> any_pair(Random& random, int32_t dst_size, int32_t src_size) {
  const Range dst = any_range(random, dst_size);
  Range src = any_range(random, src_size);
  constexpr float kRatios[] = {1, 1, 1, 0.5f, 2, 4, 0.25f};
  if (random.chance(2)) {
    const float ratio = kRatios[random.between(0, std::size(kRatios) - 1)];
    src.high = src.low + (dst.high - dst.low) * ratio;
  }
  return {dst, src};
}

// Clear, painted a few times in parts, or anything.
void fill_coverage(Frame& cover, Random& random) {
  constexpr int kLevels[] = {0, 0, 4096, 4096, 2048, 8192};
  const int kind = random.between(0, 2);
  for (int32_t y = 0; y < cover->height; ++y) {
    for (int32_t x = 0; x < cover->pitch / 2; ++x) {
      const int some = random.chance(4) ? random.between(0, 28672) : kLevels[random.between(0, 5)];
      const int level = kind == 0 ? 0 : kind == 1 ? some : random.between(0, 65535);
      cover.set(x, y, static_cast<uint16_t>(level));
    }
  }
}

// What the sizes of a case are for.
enum class Shape { kSmall, kWide, kTallSource, kTurnedOver };

struct Sizes {
  int32_t dst_width, dst_height, src_width, src_height;
};

Sizes any_sizes(Random& random, Shape shape) {
  switch (shape) {
    case Shape::kSmall:
      return {random.between(1, 40), random.between(1, 24), random.between(1, 40), random.between(1, 30)};
    case Shape::kWide:
      return {random.between(1, 1300), random.between(1, 4), random.between(1, 1 << random.between(4, 13)),
              random.between(1, 6)};
    case Shape::kTallSource:
      return {random.between(1, 30), random.between(1, 3), random.between(1, 30), random.between(1, 1000)};
    default:
      return {random.between(1, 5), random.between(1, 3), random.between(1, 8), random.between(1, 8)};
  }
}

// One call, with the AVX2 twins and without, against the model. Returns whether it drew anything.
bool equals_model(uint64_t seed, Frame& dst, Frame& cover, Frame& src, const RectCall& call) {
  Frame* const plane = dst->format != BMP_FORMAT_PAL8 ? std::addressof(cover) : nullptr;
  const auto dst_before = dst.bytes(), cover_before = cover.bytes();
  model_map_rect(dst, plane, src, call);
  const auto dst_expected = dst.bytes(), cover_expected = cover.bytes();
  for (const auto twins : {WiderTwins::kNever, WiderTwins::kWhereAvailable}) {
    const AtLevel at({kHighestLevel, twins});
    dst.set_bytes(dst_before);
    cover.set_bytes(cover_before);
    map_rect(dst, plane, src, call);
    EXPECT_EQ(difference(dst_expected, dst), "") << describe(seed, call, src) << ", format " << dst->format;
    EXPECT_EQ(difference(cover_expected, cover), "") << "coverage, " << describe(seed, call, src);
  }
  return dst_expected != dst_before;
}

TEST(MapRect, EqualsThePlainWalkOverEverySample) {
  int drawn = 0;
  for (uint64_t seed = 0; seed < 5000; ++seed) {
    Random random(seed);
    const uint32_t format = kRectFormats[seed % 3];
    const Shape shape = random.chance(4) ? static_cast<Shape>(random.between(1, 3)) : Shape::kSmall;
    const Sizes sizes = any_sizes(random, shape);
    Frame dst(sizes.dst_width, sizes.dst_height, format, random, {.offset = 16});
    Frame cover(dst->width, dst->height, BMP_FORMAT_KEY16, random, {.offset = 16, .extra_pitch = 16});
    Frame src(sizes.src_width, sizes.src_height, format, random,
              {.offset = 16, .field_mode = static_cast<uint32_t>(random.between(0, 3))});
    fill_coverage(cover, random);
    auto [dst_x, src_x] = any_pair(random, dst->width, src->width);
    auto [dst_y, src_y] = any_pair(random, dst->height, src->height);
    if (shape == Shape::kTurnedOver) {
      // Clipped at the destination's side, the source then starts outside.
      const bool clipped = random.chance(2);
      const auto turn = [&](Range& dst_range, Range& src_range) {
        std::swap(src_range.low, src_range.high);
        if (clipped) src_range = {random.real(0, 1), random.real(-9, 0)};
        if (clipped) dst_range.low = random.real(-9, 0);
      };
      random.chance(2) ? turn(dst_x, src_x) : turn(dst_y, src_y);
    }
    const RectCall call = {dst_x.low,  dst_y.low,  dst_x.high,
                           dst_y.high, src_x.low,  src_y.low,
                           src_x.high, src_y.high, static_cast<uint32_t>(random.between(0, 3))};
    drawn += equals_model(seed, dst, cover, src, call);
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(drawn, 3500);
}

// A direction where whole pixels begin at samples, or between two of them, of which they cover a power of
// two; partial pixels at both ends, and the source may end too soon.
struct PowerOfTwo {
  float dst0, dst1, src0, src1;
  int32_t dst_size, src_size;

  PowerOfTwo(Random& random, int32_t pixels, float samples) {
    const float before = random.chance(2) ? 0 : static_cast<float>(random.between(1, 7)) / 8;
    const float behind = random.chance(2) ? 0 : static_cast<float>(random.between(1, 7)) / 8;
    const auto first = static_cast<float>(random.between(1, 3));
    const float shift = samples <= 1 && random.chance(2) ? 0.5f : 0;
    const auto first_sample = static_cast<float>(random.between(0, 5)) + shift;
    dst0 = first - before;
    dst1 = first + static_cast<float>(pixels) + behind;
    src0 = first_sample - before * samples;
    src1 = src0 + (dst1 - dst0) * samples;
    dst_size = static_cast<int32_t>(std::ceil(dst1)) + random.between(0, 2);
    const int32_t cut = random.chance(3) ? random.between(1, 9) : 0;
    src_size = std::max(static_cast<int32_t>(std::ceil(src1)) - cut, 1);
  }
};

TEST(MapRect, MeansEqualThePlainWalkAsWell) {
  constexpr float kAcross[] = {1, 1, 2, 4, 8, 16}, kDown[] = {1, 1, 2, 4, 8, 0.5f, 2 / 3.0f, 0.25f};
  for (uint64_t seed = 0; seed < 3000; ++seed) {
    Random random(seed);
    const uint32_t format = kRectFormats[seed % 3];
    const int bytes = bytes_per_pixel(format);
    const float samples = kAcross[random.between(0, std::size(kAcross) - 1)];
    // Plain kernels work out 512 samples at a time.
    const bool wide = random.chance(16);
    const int32_t few = random.between(1, 80);
    const PowerOfTwo x(random, wide ? static_cast<int32_t>(512 / samples) + few - 20 : few, samples);
    const PowerOfTwo y(random, random.between(1, wide ? 2 : 6),
                       kDown[random.between(0, std::size(kDown) - 1)]);
    const auto layout = [&] {
      return Layout{.offset = bytes * random.between(0, 5), .extra_pitch = 4 * random.between(0, 5)};
    };
    Frame dst(x.dst_size, y.dst_size, format, random, layout());
    Frame src(x.src_size, y.src_size, format, random, layout());
    Frame cover(dst->width, dst->height, BMP_FORMAT_KEY16, random, {.offset = 2 * random.between(0, 5)});
    fill_coverage(cover, random);
    const uint32_t flags = random.chance(4) ? static_cast<uint32_t>(random.between(2, 3)) : 0;
    equals_model(seed, dst, cover, src,
                 {x.dst0, y.dst0, x.dst1, y.dst1, x.src0, y.src0, x.src1, y.src1, flags});
    ASSERT_FALSE(HasFailure());
  }
}

// What a call reads after it has painted it is not defined, but it is the same everywhere.
TEST(MapRect, OntoItsOwnSourceIsTheSameWithTwinsAndWithout) {
  for (uint64_t seed = 0; seed < 300; ++seed) {
    Random random(seed);
    const uint32_t format = kRectFormats[seed % 3];
    Frame frame(random.between(140, 200), random.between(8, 20), format, random);
    Frame cover(frame->width, frame->height, BMP_FORMAT_KEY16, random);
    Frame* const plane = format != BMP_FORMAT_PAL8 ? std::addressof(cover) : nullptr;
    const auto before = frame.bytes(), cover_before = cover.bytes();
    const float shift = 0.5f * static_cast<float>(random.between(0, 8));
    const float scale = random.chance(2) ? 1 : 0.5f;
    const RectCall call = {2, 1, 66, 5, shift, 0.5f, shift + 64 / scale, 0.5f + 4 / scale, 0};
    std::vector<uint8_t> expected;
    for (const auto twins : {WiderTwins::kNever, WiderTwins::kWhereAvailable}) {
      const AtLevel at({kHighestLevel, twins});
      frame.set_bytes(before);
      cover.set_bytes(cover_before);
      map_rect(frame, plane, frame, call);
      if (twins == WiderTwins::kNever) expected = frame.bytes();
    }
    ASSERT_EQ(difference(expected, frame), "") << describe(seed, call, frame);
  }
}

// ---- Calls outside the contract ----

float wild(Random& random) {
  using Limits = std::numeric_limits<float>;
  constexpr float kWild[] = {Limits::quiet_NaN(),
                             Limits::infinity(),
                             -Limits::infinity(),
                             Limits::max(),
                             -Limits::max(),
                             Limits::min(),
                             -0.0f,
                             0.0f,
                             1e9f,
                             -1e9f,
                             3e5f,
                             -3e5f,
                             8.0f,
                             8.0001f,
                             1e-6f};
  if (random.chance(3)) return kWild[random.between(0, std::size(kWild) - 1)];
  return random.real(-60, 60);
}

TEST(MapRect, WildNumbersStayInsideTheBitmaps) {
  for (uint64_t seed = 0; seed < 30000; ++seed) {
    Random random(seed);
    const uint32_t format = kRectFormats[seed % 3];
    const int bytes = bytes_per_pixel(format);
    const auto layout = [&](int32_t width, uint32_t of_format, Layout given) {
      // Parts of a frame need not have padding.
      if (random.chance(3)) given.extra_pitch = -(-width * bytes_per_pixel(of_format) & 15);
      return given;
    };
    const int32_t width = random.between(1, 20), height = random.between(1, 9);
    Frame dst(width, height, format, random, layout(width, format, {.offset = 16}));
    const int32_t cover_width = std::max(width + random.between(-2, 2), 0);
    const uint32_t cover_format = random.chance(8) ? BMP_FORMAT_KEY8 : BMP_FORMAT_KEY16;
    Frame cover(cover_width, std::max(height + random.between(-2, 2), 0), cover_format, random,
                layout(cover_width, cover_format, {}));
    const int32_t src_width = random.between(0, 20);
    const uint32_t src_format = random.chance(4) ? static_cast<uint32_t>(random.between(0, 7)) : format;
    const uint32_t field_mode = static_cast<uint32_t>(random.between(0, 3));
    Frame src(src_width, random.between(0, 9), src_format, random,
              layout(src_width, src_format, {.field_mode = field_mode}));
    Frame* const plane = format != BMP_FORMAT_PAL8 ? std::addressof(cover) : nullptr;
    float v[8];
    for (float& value : v) value = wild(random);
    if (random.chance(3)) v[2] = v[0];
    if (random.chance(5)) std::swap(v[4], v[6]);
    const RectCall call = {
        v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], static_cast<uint32_t>(random.between(0, 3))};
    const auto before = dst.bytes();
    map_rect(dst, plane, src, call);
    const auto after = dst.bytes();
    // Bytes before line 0 and the padding behind a line's last pair are left alone.
    const auto used = static_cast<size_t>(std::min((width * bytes + 3) / 4 * 4, dst->pitch));
    bool outside_is_left = std::equal(before.begin(), before.begin() + 16, after.begin());
    for (size_t i = 16; i < before.size(); ++i) {
      if ((i - 16) % static_cast<size_t>(dst->pitch) >= used) outside_is_left &= before[i] == after[i];
    }
    ASSERT_TRUE(outside_is_left) << describe(seed, call, src);
  }
}

}  // namespace
}  // namespace dorbmp::test
