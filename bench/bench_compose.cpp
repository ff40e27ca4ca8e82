#include "bench.h"
#include "dorbmp/cpu/compose_kernels.h"

namespace dorbmp::bench {
namespace {

// One frame of everything that a composition may take.
struct Layers {
  Frame dst, background, foreground, key16, key8, border;

  Layers(Size size, uint32_t format)
      : dst(make_frame(size, format)),
        background(make_frame(size, format)),
        foreground(make_frame(size, format)),
        key16(make_keys(size, BMP_FORMAT_KEY16)),
        key8(make_keys(size, BMP_FORMAT_KEY8)),
        border(make_keys(size, BMP_FORMAT_KEY16)) {}
};

struct Operation {
  const char* name;
  int images;  // read
  int key_bytes;
  void (*call)(Layers&);
};

constexpr Operation kOperations[] = {
    {"key16", 2, 2,
     [](Layers& l) { bmp_compose(l.dst.get(), l.background.get(), l.foreground.get(), l.key16.get(), 0); }},
    {"key8", 2, 1,
     [](Layers& l) { bmp_compose(l.dst.get(), l.background.get(), l.foreground.get(), l.key8.get(), 0); }},
    {"mix", 2, 0,
     [](Layers& l) {
       bmp_compose(l.dst.get(), l.background.get(), l.foreground.get(), BMP_LEVEL(1500), BMP_COMPOSE_MIX);
     }},
    {"color", 1, 2,
     [](Layers& l) {
       bmp_compose_color(l.dst.get(), l.background.get(), nullptr, l.key16.get(), nullptr, 0x804020, 0);
     }},
    {"color_border", 2, 4,
     [](Layers& l) {
       bmp_compose_color(l.dst.get(), l.background.get(), l.foreground.get(), l.key16.get(), l.border.get(),
                         0x804020, 0);
     }},
};

// The same number of bytes read and written, as one memcpy each way would move them.
void limit(benchmark::State& state, Size size, int64_t bytes) {
  const size_t half = static_cast<size_t>(bytes / 2);
  const auto from = std::make_unique<uint8_t[]>(half);
  const auto to = std::make_unique<uint8_t[]>(half);
  std::memset(from.get(), 1, half);
  for (auto _ : state) {
    std::memcpy(to.get(), from.get(), half);
    benchmark::ClobberMemory();
  }
  report(state, size.pixels(), bytes);
}

[[maybe_unused]] const bool registered = [] {
  for (const Size size : kSizes) {
    for (const uint32_t format : {BMP_FORMAT_YUY2, BMP_FORMAT_RGB32}) {
      const int pixel = format == BMP_FORMAT_YUY2 ? 2 : 4;
      for (const Operation& operation : kOperations) {
        const int64_t bytes = size.pixels() * ((operation.images + 1) * pixel + operation.key_bytes);
        const std::string name =
            std::string("compose/") + operation.name + (format == BMP_FORMAT_YUY2 ? "_yuy2/" : "_rgb32/");
        for (int level = 0; level < kLevels; ++level) {
          benchmark::RegisterBenchmark((name + "level" + std::to_string(level) + "/" + size.name()).c_str(),
                                       [=](benchmark::State& state) {
                                         install_compose_kernels(level);
                                         Layers layers(size, format);
                                         for (auto _ : state) operation.call(layers);
                                         report(state, size.pixels(), bytes);
                                         install_compose_kernels(detect_cpu_level());
                                       });
        }
        benchmark::RegisterBenchmark((name + "memcpy/" + size.name()).c_str(),
                                     [=](benchmark::State& state) { limit(state, size, bytes); });
      }
    }
  }
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
