// One call at every level, its results compared.
//
//   composition       levels 1 to 4, with the wider twins and without: equal; level 0 within one of them for
//                     keys on their scale
//   polygons          levels 0 and 1 are equal, and so are levels 2 to 4
//   rectangles        equal at every level
#include <cstdio>
#include <functional>
#include <vector>

#include "input.h"

using namespace dorbmp;
using namespace dorbmp::fuzz;

namespace {

using Bytes = std::vector<uint8_t>;

[[noreturn]] void differ(const char* what, int level, size_t at, int expected, int got) {
  std::fprintf(stderr, "%s at level %d: byte %zu is %d, elsewhere %d\n", what, level, at, got, expected);
  std::abort();
}

void restore(Picture& picture, const Bytes& bytes) {
  if (!bytes.empty()) std::memcpy(picture->pixels, bytes.data(), bytes.size());
}

// The picture after the call at a level, from the same start.
Bytes result(Picture& picture, const Bytes& start, test::Setting setting, const std::function<void()>& call) {
  restore(picture, start);
  const test::AtLevel at(setting);
  call();
  return {picture.pixels(), picture.pixels() + picture.bytes()};
}

void expect_equal(const char* what, Picture& picture, int first_level, int last_level,
                  const std::function<void()>& call) {
  const Bytes start(picture.pixels(), picture.pixels() + picture.bytes());
  Bytes expected;
  for (const test::Setting& setting : test::kSettings) {
    if (setting.level < first_level || setting.level > last_level) continue;
    const Bytes got = result(picture, start, setting, call);
    if (setting.level == first_level) expected = got;
    for (size_t i = 0; i < got.size(); ++i) {
      if (got[i] != expected[i]) differ(what, setting.level, i, expected[i], got[i]);
    }
  }
  restore(picture, start);
}

// Within one on every pixel's components. Off the width, and in a 32-bit pixel's last byte, level 0 does not
// write.
void expect_near(const char* what, Picture& picture, const std::function<void()>& call) {
  const Bytes start(picture.pixels(), picture.pixels() + picture.bytes());
  const Bytes plain = result(picture, start, {0}, call);
  const Bytes vector = result(picture, start, {1}, call);
  const auto pitch = static_cast<size_t>(picture->pitch);
  const auto line = static_cast<size_t>(picture->width * picture->bytes_per_pixel);
  for (size_t i = 0; i < plain.size(); ++i) {
    if (i % pitch >= line || (picture->bytes_per_pixel == 4 && i % 4 == 3)) continue;
    if (std::abs(plain[i] - vector[i]) > 1) differ(what, 1, i, plain[i], vector[i]);
  }
}

void compare_compose(Input& input) {
  const uint32_t format = input.below(2);
  const Size size(input);
  const bool is_on_scale = input.below(4) != 0;
  Picture destination(input, format, size), background(input, format, size), foreground(input, format, size);
  Picture key(input, input.below(2) == 0 ? 2 : 7, size, is_on_scale ? 4097 : 0);
  const uint32_t flags = input.below(4);
  const auto keyed = [&] { bmp_compose(&destination, &background, &foreground, &key, flags); };
  expect_equal("bmp_compose", destination, 1, 4, keyed);
  if (is_on_scale) expect_near("bmp_compose", destination, keyed);
  const int32_t level = static_cast<int32_t>(input.take<uint16_t>() % 4097);
  const auto mixed = [&] {
    bmp_compose(&destination, &background, &foreground, BMP_LEVEL(level), flags | BMP_COMPOSE_MIX);
  };
  expect_equal("bmp_compose, mix", destination, 1, 4, mixed);
  expect_near("bmp_compose, mix", destination, mixed);

  Picture narrow(input, 2, size, 4097), wide(input, 2, size, 4097);
  const uint32_t color = input.take<uint32_t>();
  expect_equal("bmp_compose_color, border", destination, 1, 4, [&] {
    bmp_compose_color(&destination, &background, &foreground, &narrow, &wide, color, flags);
  });
  expect_equal("bmp_compose_color", destination, 1, 4, [&] {
    bmp_compose_color(&destination, &background, nullptr, &narrow, nullptr, color, flags);
  });
}

void compare_map_rect(Input& input) {
  constexpr uint32_t kFormats[] = {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32, BMP_FORMAT_PAL8};
  const uint32_t format = kFormats[input.below(3)];
  const Size size(input);
  Picture destination(input, format, size), source(input, format, Size(input));
  Picture cover(input, BMP_FORMAT_KEY16, size, 4097);
  float f[8];
  for (float& value : f) value = input.real();
  const uint32_t flags = input.flags();
  const Bytes painted(cover.pixels(), cover.pixels() + cover.bytes());
  expect_equal("bmp_map_rect", destination, 0, 4, [&] {
    restore(cover, painted);
    bmp_map_rect(&destination, format == BMP_FORMAT_PAL8 ? nullptr : &cover, f[0], f[1], f[2], f[3], &source,
                 nullptr, f[4], f[5], f[6], f[7], flags);
  });
}

void compare_map_polygon(Input& input) {
  const uint32_t format = input.below(3);
  Picture destination(input, format, Size(input)), texture(input, format, Size(input));
  PolygonVertex vertices[5];
  const int32_t count = 3 + static_cast<int32_t>(input.below(3));
  const bool is_affine = input.below(2) == 0;
  for (PolygonVertex& vertex : vertices) {
    vertex = {input.real(), input.real(), is_affine ? 1 : input.real(), input.real(), input.real()};
  }
  const uint32_t flags = input.flags() & (3u | BMP_MAP_NEAREST | BMP_MAP_SMOOTH);
  const auto map = [&] {
    bmp_map_polygon(&destination, nullptr, nullptr, &texture, nullptr, vertices, count, flags);
  };
  expect_equal("bmp_map_polygon", destination, 0, 1, map);
  expect_equal("bmp_map_polygon", destination, 2, 4, map);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  switch (input.below(4)) {
    case 0:
      compare_map_rect(input);
      break;
    case 1:
      compare_map_polygon(input);
      break;
    default:
      compare_compose(input);
      break;
  }
  return 0;
}
