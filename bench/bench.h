// Frames and counters shared by the benchmarks.
//
// Names are operation/variant/size. Every line reports ns per pixel of the destination ("ns/px") and the
// bytes that the operation reads and writes per second.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "dorbmp.h"

namespace dorbmp::bench {

struct Size {
  int32_t width;
  int32_t height;

  int64_t pixels() const { return int64_t{width} * height; }
  std::string name() const { return std::to_string(width) + "x" + std::to_string(height); }
};

inline constexpr Size kSizes[] = {{720, 486}, {1920, 1080}};

struct Destroy {
  void operator()(Bitmap* bitmap) const { bmp_destroy(bitmap); }
};
using Frame = std::unique_ptr<Bitmap, Destroy>;

// A frame with every page touched; bytes repeat with a period that no kernel shares.
inline Frame make_frame(Size size, uint32_t format) {
  Frame frame(bmp_create(size.width, size.height, format, 0));
  const size_t bytes = static_cast<size_t>(frame->pitch) * static_cast<size_t>(frame->height);
  for (size_t i = 0; i < bytes; ++i) frame->pixels[i] = static_cast<uint8_t>(i * 7 % 251);
  return frame;
}

// Keys over the whole scale.
inline Frame make_keys(Size size, uint32_t format) {
  Frame frame = make_frame(size, format);
  for (int32_t y = 0; y < size.height; ++y) {
    uint8_t* row = frame->pixels + static_cast<ptrdiff_t>(y) * frame->pitch;
    for (int32_t x = 0; x < size.width; ++x) {
      if (format == BMP_FORMAT_KEY8) {
        row[x] = static_cast<uint8_t>((x + y) % 129);
      } else {
        const uint16_t key = static_cast<uint16_t>((x * 3 + y) % 4097);
        std::memcpy(row + 2 * x, &key, 2);
      }
    }
  }
  return frame;
}

// pixels of the destination and bytes moved, per call.
inline void report(benchmark::State& state, int64_t pixels, int64_t bytes) {
  state.SetBytesProcessed(state.iterations() * bytes);
  state.counters["ns/px"] =
      benchmark::Counter(static_cast<double>(pixels) * 1e-9,
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace dorbmp::bench
