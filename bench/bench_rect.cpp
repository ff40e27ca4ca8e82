#include "bench.h"

namespace dorbmp::bench {
namespace {

constexpr Size kSource = {1920, 1080};

struct Scale {
  const char* name;
  float factor;
  float offset;  // of the source, in pixels
};
constexpr Scale kScales[] = {
    {"x1.5", 1.5f, 0}, {"x0.6", 0.6f, 0}, {"x0.25", 0.25f, 0}, {"half_pixel", 1, 0.5f}};

Size scaled(const Scale& scale) {
  return {static_cast<int32_t>(static_cast<float>(kSource.width) * scale.factor),
          static_cast<int32_t>(static_cast<float>(kSource.height) * scale.factor)};
}

struct Driver {
  const char* name;
  uint32_t format;
  int bytes;
};
constexpr Driver kDrivers[] = {
    {"pal8", BMP_FORMAT_PAL8, 1}, {"rgb32", BMP_FORMAT_RGB32, 4}, {"yuy2", BMP_FORMAT_YUY2, 2}};

// A series of calls starts with a clear coverage plane: the clearing is not part of the time.
void map_rect(benchmark::State& state, const Driver& driver, const Scale& scale) {
  const Size size = scaled(scale);
  const Frame src = make_frame(kSource, driver.format), dst = make_frame(size, driver.format);
  const Frame cover = driver.format != BMP_FORMAT_PAL8 ? make_frame(size, BMP_FORMAT_KEY16) : nullptr;
  const auto width = static_cast<float>(kSource.width), height = static_cast<float>(kSource.height);
  for (auto _ : state) {
    if (cover) {
      state.PauseTiming();
      bmp_clear(cover.get(), 0);
      state.ResumeTiming();
    }
    bmp_map_rect(dst.get(), cover.get(), 0, 0, static_cast<float>(size.width),
                 static_cast<float>(size.height), src.get(), nullptr, scale.offset, scale.offset,
                 width + scale.offset, height + scale.offset, 0);
  }
  report(state, size.pixels(),
         kSource.pixels() * driver.bytes + size.pixels() * (driver.bytes + (cover ? 2 : 0)));
}

const bool registered = [] {
  for (const Driver& driver : kDrivers) {
    for (const Scale& scale : kScales) {
      const std::string name = std::string("map_rect/") + driver.name + "/" + scale.name;
      benchmark::RegisterBenchmark(name.c_str(), [&](benchmark::State& state) {
        map_rect(state, driver, scale);
      })->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
