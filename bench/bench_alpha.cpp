// Key shapes. alpha/memset is the least that writing the plane takes.
#include "bench.h"

namespace dorbmp::bench {
namespace {

template <class Draw>
void add(const std::string& name, Draw draw) {
  for (const Size size : kSizes) {
    benchmark::RegisterBenchmark(("alpha/" + name + "/" + size.name()).c_str(), [=](benchmark::State& state) {
      const Frame plane = make_frame(size, BMP_FORMAT_KEY16);
      for (auto _ : state) {
        draw(plane.get());
        benchmark::ClobberMemory();
      }
      report(state, size.pixels(), size.pixels() * 2);
    });
  }
}

void add_disc(const std::string& name, float softness, uint32_t flags) {
  add(name, [=](Bitmap* plane) {
    const float cx = static_cast<float>(plane->width) / 2 + 0.3f;
    const float cy = static_cast<float>(plane->height) / 2 + 0.4f;
    bmp_alpha_circle(plane, cx, cy, 400, softness, 1, flags);
  });
}

// All but a border of the plane.
void add_rect(const std::string& name, float radius, uint32_t flags) {
  add(name, [=](Bitmap* plane) {
    const float width = static_cast<float>(plane->width) - 20;
    const float height = static_cast<float>(plane->height) - 20;
    bmp_alpha_rect(plane, 10.3f, 10.4f, width, height, radius, radius, flags | BMP_ALPHA_MAX);
  });
}

const bool kRegistered = [] {
  add("memset", [](Bitmap* plane) {
    std::memset(plane->pixels, 0x10, static_cast<size_t>(plane->pitch) * static_cast<size_t>(plane->height));
  });
  add_disc("disc_hard", 0, BMP_FRAME);
  add_disc("disc_linear", 100, BMP_FRAME);
  add_disc("disc_cosine", 100, BMP_ALPHA_COSINE);
  add_rect("rect_plain", 0, BMP_FRAME);
  add_rect("rect_rounded_hard", 100, BMP_ALPHA_ROUNDED | BMP_ALPHA_HARD);
  add_rect("rect_rounded_linear", 100, BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT);
  add_rect("rect_rounded_cosine", 100, BMP_ALPHA_ROUNDED | BMP_ALPHA_SOFT | BMP_ALPHA_COSINE);
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
