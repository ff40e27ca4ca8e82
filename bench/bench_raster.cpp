#include "bench.h"

namespace dorbmp::bench {
namespace {

template <class Call>
void add(const std::string& name, Size size, int64_t pixels, int64_t bytes, Call call) {
  benchmark::RegisterBenchmark((name + "/" + size.name()).c_str(), [=](benchmark::State& state) {
    auto run = call(size);
    for (auto _ : state) run();
    report(state, pixels, bytes);
  });
}

constexpr const char* kFormatNames[] = {"yuy2", "rgb32", "key16", "", "", "", "pal8", "key8"};

// What the machine does with the same bytes.
void add_limits(Size size, uint32_t format, int bytes_per_pixel) {
  const std::string name = kFormatNames[format];
  const int64_t bytes = size.pixels() * bytes_per_pixel;
  add("limit/memset/" + name, size, size.pixels(), bytes, [=](Size s) {
    return [dst = std::shared_ptr<Bitmap>(make_frame(s, format)), bytes] {
      std::memset(dst->pixels, 0x55, static_cast<size_t>(bytes));
      benchmark::ClobberMemory();
    };
  });
  add("limit/memcpy/" + name, size, size.pixels(), 2 * bytes, [=](Size s) {
    return [dst = std::shared_ptr<Bitmap>(make_frame(s, format)),
            src = std::shared_ptr<Bitmap>(make_frame(s, format)), bytes] {
      std::memcpy(dst->pixels, src->pixels, static_cast<size_t>(bytes));
      benchmark::ClobberMemory();
    };
  });
}

void add_fills(Size size) {
  for (const auto& [format, bytes] : {std::pair<uint32_t, int>{BMP_FORMAT_RGB32, 4}, {BMP_FORMAT_KEY16, 2}}) {
    const std::string name = kFormatNames[format];
    add_limits(size, format, bytes);
    add("clear/" + name, size, size.pixels(), size.pixels() * bytes, [format = format](Size s) {
      return [dst = std::shared_ptr<Bitmap>(make_frame(s, format))] { bmp_clear(dst.get(), 0); };
    });
    add("fill/" + name, size, size.pixels(), size.pixels() * bytes, [format = format](Size s) {
      return [dst = std::shared_ptr<Bitmap>(make_frame(s, format)), s] {
        bmp_draw_rect(dst.get(), 0, 0, s.width, s.height, 0x11223344, BMP_OP_SET);
      };
    });
    add("fill_part/" + name, size, size.pixels() / 4, size.pixels() / 4 * bytes, [format = format](Size s) {
      return [dst = std::shared_ptr<Bitmap>(make_frame(s, format)), s] {
        bmp_draw_rect(dst.get(), 3, 5, 3 + s.width / 2, 5 + s.height / 2, 0x11223344, BMP_OP_SET);
      };
    });
  }
  add("fill_and/pal8", size, size.pixels(), 2 * size.pixels(), [](Size s) {
    return [dst = std::shared_ptr<Bitmap>(make_frame(s, BMP_FORMAT_PAL8)), s] {
      bmp_draw_rect(dst.get(), 0, 0, s.width, s.height, 0xF7, BMP_OP_AND);
    };
  });
}

// Two frames and a call on them; bytes are those read and written.
template <class Operation>
void add_transfer(const std::string& name, Size size, uint32_t format, double share, double touched,
                  Operation operation) {
  const int64_t frame = size.pixels() * (format == BMP_FORMAT_RGB32 ? 4 : 2);
  add(name + "/" + kFormatNames[format], size,
      static_cast<int64_t>(static_cast<double>(size.pixels()) * share),
      static_cast<int64_t>(static_cast<double>(frame) * touched), [=](Size s) {
        return [dst = std::shared_ptr<Bitmap>(make_frame(s, format)),
                src = std::shared_ptr<Bitmap>(make_frame(s, format)), s,
                operation] { operation(dst.get(), src.get(), s); };
      });
}

void add_transfers(Size size, uint32_t format) {
  add_transfer("copy", size, format, 1, 2,
               [](Bitmap* dst, Bitmap* src, Size) { bmp_copy(dst, src, BMP_FRAME); });
  add_transfer("copy_field", size, format, 0.5, 1,
               [](Bitmap* dst, Bitmap* src, Size) { bmp_copy(dst, src, BMP_FIELD_ONLY); });
  add_transfer("blt", size, format, 0.25, 0.5, [](Bitmap* dst, Bitmap* src, Size s) {
    bmp_blt(dst, 3, 5, s.width / 2, s.height / 2, src, s.width / 4, s.height / 4, BMP_FRAME);
  });
  add_transfer("interpolate", size, format, 1, 1.5,
               [](Bitmap* dst, Bitmap* src, Size) { bmp_interporate(dst, src, BMP_FRAME); });
}

[[maybe_unused]] const bool registered = [] {
  for (const Size size : kSizes) {
    add_fills(size);
    add_limits(size, BMP_FORMAT_YUY2, 2);
    for (const uint32_t format : {BMP_FORMAT_RGB32, BMP_FORMAT_YUY2}) add_transfers(size, format);
  }
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
