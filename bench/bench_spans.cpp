// The polygon mapper, a whole frame at a time.
//
// span/KIND/slotN/FAMILY has a line for each family that has a kernel of its own there: the slots that stand
// for their filters, and those with an MMX kernel beside the plain one.
#include <algorithm>
#include <cmath>

#include "dorbmp/cpu/span_tables.h"
#include "dorbmp/mapping/polygon/filter_class.h"
#include "polygons.h"

namespace dorbmp::bench {
namespace {

struct Family {
  const char* name;
  CpuLevel level;
  WiderTwins twins;

  void install() const { install_span_tables(level, twins); }
};

constexpr Family kFamilies[] = {
    {"plain", kLevelPlain, WiderTwins::kNever},
    {"mmx", kLevelSse2, WiderTwins::kNever},
    {"avx2", kLevelSse2, WiderTwins::kWhereAvailable},
};
constexpr Family kInUse = kFamilies[2];

template <auto kTable>
const void* kernel_of(int slot) {
  return reinterpret_cast<const void*>((span_tables.*kTable)[static_cast<size_t>(slot)]);
}

struct Kind {
  const char* name;
  uint32_t texture;
  uint32_t dst;
  int64_t bytes;
  bool perspective;
  bool depth;
  const void* (*kernel)(int slot);
};

// clang-format off
constexpr Kind kKinds[] = {
//  name                 texture            destination        bytes  perspective, depth
  {"yuy2_affine",       BMP_FORMAT_YUY2,  BMP_FORMAT_YUY2,  2, false, false, kernel_of<&SpanTables::yuy2_affine>},
  {"yuy2_perspective",  BMP_FORMAT_YUY2,  BMP_FORMAT_YUY2,  2, true,  false, kernel_of<&SpanTables::yuy2_perspective>},
  {"rgb32_affine",      BMP_FORMAT_RGB32, BMP_FORMAT_RGB32, 4, false, false, kernel_of<&SpanTables::rgb32_affine>},
  {"rgb32_perspective", BMP_FORMAT_RGB32, BMP_FORMAT_RGB32, 4, true,  false, kernel_of<&SpanTables::rgb32_perspective>},
  {"key16_affine",      BMP_FORMAT_KEY16, BMP_FORMAT_KEY16, 2, false, false, kernel_of<&SpanTables::key16_affine>},
  {"key16_perspective", BMP_FORMAT_KEY16, BMP_FORMAT_KEY16, 2, true,  false, kernel_of<&SpanTables::key16_perspective>},
  {"yuy2_depth",        BMP_FORMAT_YUY2,  BMP_FORMAT_YUY2,  2, true,  true,  kernel_of<&SpanTables::yuy2_depth>},
  {"rgb32_depth",       BMP_FORMAT_RGB32, BMP_FORMAT_RGB32, 4, true,  true,  kernel_of<&SpanTables::rgb32_depth>},
  {"matte_yuy2",        BMP_FORMAT_KEY8,  BMP_FORMAT_YUY2,  2, true,  false, kernel_of<&SpanTables::matte_yuy2>},
  {"matte_rgb32",       BMP_FORMAT_KEY8,  BMP_FORMAT_RGB32, 4, true,  false, kernel_of<&SpanTables::matte_rgb32>},
};
// clang-format on

// The last one made: lines that share it stand together, and it may be large.
const Bitmap* texture_of(Size size, uint32_t format) {
  static Frame last;
  if (!last || last->width != size.width || last->height != size.height || last->format != format) {
    last.reset();
    last = make_frame(size, format);
  }
  return last.get();
}

void map_frame(benchmark::State& state, const Kind& kind, int slot, const Family& family, uint32_t flags) {
  const TurnedQuad quad{texture_for(slot), kFullFrame, kCovering, kind.perspective};
  const auto vertices = quad.vertices();
  const bool matte = kind.texture == BMP_FORMAT_KEY8;
  if (slot == 0) flags |= BMP_MAP_NEAREST;
  if (matte) flags |= BMP_MAP_AUX;
  const auto chosen = mapping::choose_filter(mapping::minification(vertices.data(), 4, 1.0f), matte);
  if (slot != 0 && chosen.slot != slot) return state.SkipWithError("the quad has another filter");

  const Frame dst = make_frame(kFullFrame, kind.dst);
  const Frame depths(kind.depth ? bmp_create(kFullFrame.width, kFullFrame.height, BMP_FORMAT_RGB32, 0)
                                : nullptr);
  const Bitmap* const texture = texture_of(quad.texture, kind.texture);
  const void* const first = matte ? BMP_VALUE(0x804020) : texture;
  family.install();
  for (auto _ : state) {
    if (kind.depth) {  // everything is nearer than 0
      state.PauseTiming();
      std::memset(depths->pixels, 0,
                  static_cast<size_t>(depths->pitch) * static_cast<size_t>(depths->height));
      state.ResumeTiming();
    }
    bmp_map_polygon(dst.get(), nullptr, depths.get(), first, texture, vertices.data(), 4, flags);
    benchmark::ClobberMemory();
  }
  kInUse.install();
  report(state, kFullFrame.pixels(), kFullFrame.pixels() * 2 * kind.bytes);
}

// As many triangles as a busy mesh, ten pixels a side.
void map_small_triangles(benchmark::State& state, bool one_large) {
  constexpr int kTriangles = 1000;
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  const Frame texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  const auto corner = [](float x, float y) { return PolygonVertex{x * 0.9f, y * 0.9f, 1.0f, x, y}; };
  // The pixels of all of them as one quad of the same width.
  const float side = std::sqrt(kTriangles * 50.0f);
  const PolygonVertex large[4] = {corner(8.0f, 8.0f), corner(8.0f + side, 8.0f),
                                  corner(8.0f + side, 8.0f + side), corner(8.0f, 8.0f + side)};
  PolygonVertex small[kTriangles][3];
  for (int i = 0; i < kTriangles; ++i) {
    const float x = 8.0f + 11.3f * static_cast<float>(i % 40), y = 8.0f + 11.7f * static_cast<float>(i / 40);
    small[i][0] = corner(x, y);
    small[i][1] = corner(x + 10.0f, y + 0.7f);
    small[i][2] = corner(x + 0.3f, y + 10.0f);
  }
  for (auto _ : state) {
    if (one_large) {
      bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, large, 4, 0);
    } else {
      for (const auto& triangle : small) {
        bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, triangle, 3, 0);
      }
    }
    benchmark::ClobberMemory();
  }
  report(state, kTriangles * 50, kTriangles * 50 * 8);
}

// A picture one pixel wide: a full frame's edges and spans, hardly a pixel.
void scan_only(benchmark::State& state) {
  const Size sliver = {1, kFullFrame.height};
  const TurnedQuad quad{kFullFrame, sliver, kCovering, false};
  const auto vertices = quad.vertices();
  const Frame dst = make_frame(sliver, BMP_FORMAT_RGB32);
  const Frame texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  for (auto _ : state) {
    bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, vertices.data(), 4, 0);
    benchmark::ClobberMemory();
  }
  report(state, kFullFrame.pixels(), 0);
}

void register_kind(const Kind& kind) {
  constexpr int kOfEachFilter[] = {0, 1, 7, 13, 19};
  for (int slot = 0; slot < spans::kSlots; ++slot) {
    const void* kernels[std::size(kFamilies)];
    for (size_t i = 0; i < std::size(kFamilies); ++i) {
      kFamilies[i].install();
      kernels[i] = kind.kernel(slot);
    }
    if (kernels[1] == kernels[0] && std::ranges::find(kOfEachFilter, slot) == std::end(kOfEachFilter)) {
      continue;
    }
    for (size_t i = 0; i < std::size(kFamilies); ++i) {
      if (i > 0 && kernels[i] == kernels[i - 1]) continue;
      const std::string name =
          std::string("span/") + kind.name + "/slot" + std::to_string(slot) + "/" + kFamilies[i].name;
      benchmark::RegisterBenchmark(name.c_str(), [=, &kind](benchmark::State& state) {
        map_frame(state, kind, slot, kFamilies[i], 0);
      });
    }
  }
}

[[maybe_unused]] const bool registered = [] {
  for (const Kind& kind : kKinds) register_kind(kind);
  kInUse.install();
  benchmark::RegisterBenchmark("span/rgb32_affine/slot1/smooth", [](benchmark::State& state) {
    map_frame(state, kKinds[2], 1, kInUse, BMP_MAP_SMOOTH);
  });
  benchmark::RegisterBenchmark("map_polygon/triangles/1000 of 10 pixels",
                               [](benchmark::State& state) { map_small_triangles(state, false); });
  benchmark::RegisterBenchmark("map_polygon/triangles/one of as many pixels",
                               [](benchmark::State& state) { map_small_triangles(state, true); });
  benchmark::RegisterBenchmark("map_polygon/scan conversion of a frame", scan_only);
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
