// Eight threads draw into bitmaps of their own from sources they share, at the same time; each must end with
// what one thread alone draws. Meant for the thread sanitizer: a program of its own, so that nothing else is
// built.
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "support/frames.h"

namespace dorbmp::test {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 12;
constexpr int32_t kWidth = 90, kHeight = 40;

// Only read while the threads run.
struct Sources {
  Random random{1};
  Frame yuy2_a{kWidth, kHeight, BMP_FORMAT_YUY2, random};
  Frame yuy2_b{kWidth, kHeight, BMP_FORMAT_YUY2, random};
  Frame rgb_a{kWidth, kHeight, BMP_FORMAT_RGB32, random};
  Frame rgb_b{kWidth, kHeight, BMP_FORMAT_RGB32, random};
  Frame key{kWidth, kHeight, BMP_FORMAT_KEY16, random};
  Frame key8{kWidth, kHeight, BMP_FORMAT_KEY8, random};

  Sources() {
    key.fill_keys16(random);
    key8.fill_keys8(random);
  }
};

using Bytes = std::vector<uint8_t>;

void append(Bytes& bytes, const Bitmap* bitmap) {
  const size_t size = static_cast<size_t>(bitmap->pitch) * static_cast<size_t>(bitmap->height);
  bytes.insert(bytes.end(), bitmap->pixels, bitmap->pixels + size);
}

void draw_yuy2(Bytes& result, Sources& from, int seed) {
  Bitmap* to = bmp_create(kWidth, kHeight, BMP_FORMAT_YUY2, BMP_CREATE_ZEROED);
  Bitmap* cover = bmp_create(kWidth, kHeight, BMP_FORMAT_KEY16, BMP_CREATE_ZEROED);
  const float shift = static_cast<float>(seed % 7);
  bmp_compose(to, &from.yuy2_a, &from.yuy2_b, &from.key, 0);
  bmp_compose(to, to, &from.yuy2_b, &from.key8, BMP_FIELD_ONLY);
  bmp_compose(to, to, &from.yuy2_a, BMP_LEVEL(500 * (seed % 8)), BMP_COMPOSE_MIX);
  bmp_compose_color(to, to, nullptr, &from.key, nullptr, 0x00804020, BMP_FIELD_ONLY | BMP_FIELD_ODD);
  bmp_map_rect(to, cover, shift, 1.5f, 60.25f, 30.75f, &from.yuy2_b, nullptr, 0, 0, kWidth, kHeight, 0);
  bmp_interporate(to, to, 0);
  append(result, to);
  append(result, cover);
  bmp_destroy(cover);
  bmp_destroy(to);
}

void draw_rgb32(Bytes& result, Sources& from, int seed) {
  Bitmap* to = bmp_create(kWidth, kHeight, BMP_FORMAT_RGB32, BMP_CREATE_ZEROED);
  Bitmap* cover = bmp_create(kWidth, kHeight, BMP_FORMAT_KEY16, BMP_CREATE_ZEROED);
  const float shift = static_cast<float>(seed % 7);
  const PolygonVertex corners[] = {
      {0, 0, 1, shift, 2}, {kWidth, 0, 1, 80, 4}, {kWidth, kHeight, 0.5f, 70, 38}, {0, kHeight, 0.5f, 5, 30}};
  bmp_copy(to, &from.rgb_a, 0);
  bmp_blt(to, seed, 3, 40, 20, &from.rgb_b, 2, 5, 0);
  bmp_draw_rect(to, seed, seed, seed + 9, seed + 9, 0x00FF8000, BMP_OP_SET);
  bmp_map_polygon(to, nullptr, nullptr, &from.rgb_b, nullptr, corners, 4, 0);
  bmp_map_rect(to, cover, shift, 1.5f, 30.25f, 20.75f, &from.rgb_a, nullptr, 0, 0, kWidth, kHeight, 0);
  append(result, to);
  append(result, cover);
  bmp_destroy(cover);
  bmp_destroy(to);
}

void draw_planes(Bytes& result, int seed) {
  Bitmap* key = bmp_create(kWidth, kHeight, BMP_FORMAT_KEY16, BMP_CREATE_ZEROED);
  const float at = static_cast<float>(seed);
  bmp_alpha_circle(key, 40 + at, 20, 15, 4, 1, BMP_ALPHA_COSINE);
  bmp_alpha_rect(key, at, 3.25f, 20, 10.5f, 4, 4, BMP_ALPHA_MAX | BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT);
  append(result, key);
  bmp_destroy(key);

  Bitmap* palettised = bmp_create(kWidth, kHeight, BMP_FORMAT_PAL8, BMP_CREATE_ZEROED);
  bmp_set_palette(palettised, static_cast<uint32_t>(seed), 0x00123456);
  bmp_draw_line(palettised, 0, seed, kWidth, kHeight - 1 - seed, 0xFF, BMP_OP_XOR);
  append(result, palettised);
  bmp_destroy(palettised);
}

Bytes draw(Sources& from, int seed) {
  Bytes result;
  draw_yuy2(result, from, seed);
  draw_rgb32(result, from, seed);
  draw_planes(result, seed);
  return result;
}

int run() {
  Sources sources;
  Bytes expected[kThreads];
  for (int i = 0; i < kThreads; ++i) expected[i] = draw(sources, i);

  int differences[kThreads] = {};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < kRounds; ++round) differences[i] += draw(sources, i) != expected[i];
    });
  }
  int failed = 0;
  for (int i = 0; i < kThreads; ++i) {
    threads[static_cast<size_t>(i)].join();
    if (differences[i] == 0) continue;
    std::printf("thread %d drew differently %d times\n", i, differences[i]);
    failed = 1;
  }
  return failed;
}

}  // namespace
}  // namespace dorbmp::test

int main() {
  return dorbmp::test::run();
}
