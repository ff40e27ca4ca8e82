// The polygon mapper, a whole frame at a time.
//
// span/KIND/slotN/FAMILY has a line for each family that has a kernel of its own there: the slots that stand
// for their filters, and those with an MMX kernel beside the plain one.
#include <algorithm>
#include <cmath>
#include <vector>

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

// As many triangles as a busy mesh, ten pixels a side: drawn, their spans alone without what finds them, and
// as many pixels as one quad.
enum class Small { kTriangles, kSpansAlone, kOneQuad };

// A kernel that keeps what it is called with.
struct SpanCall {
  uint8_t* row;
  int32_t first, last;
  const uint8_t* src;
  int32_t pitch;
  float du, dv, u_start, v_start, u_max, v_max;
};
std::vector<SpanCall> calls;
void BMP_CALL keep_call(uint8_t* row, int32_t first, int32_t last, const uint8_t* src, int32_t pitch,
                        float du, float dv, float u_start, float v_start, float u_max, float v_max) {
  calls.push_back({row, first, last, src, pitch, du, dv, u_start, v_start, u_max, v_max});
}

void map_small_triangles(benchmark::State& state, Small what) {
  constexpr int kTriangles = 1000;
  const Frame dst = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  const Frame texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  const auto corner = [](float x, float y) { return PolygonVertex{x * 0.9f, y * 0.9f, 1.0f, x, y}; };
  const float side = std::sqrt(kTriangles * 50.0f);
  const PolygonVertex quad[4] = {corner(8.0f, 8.0f), corner(8.0f + side, 8.0f),
                                 corner(8.0f + side, 8.0f + side), corner(8.0f, 8.0f + side)};
  PolygonVertex small[kTriangles][3];
  for (int i = 0; i < kTriangles; ++i) {
    const float x = 8.0f + 11.3f * static_cast<float>(i % 40), y = 8.0f + 11.7f * static_cast<float>(i / 40);
    small[i][0] = corner(x, y);
    small[i][1] = corner(x + 10.0f, y + 0.7f);
    small[i][2] = corner(x + 0.3f, y + 10.0f);
  }
  const auto draw_triangles = [&] {
    for (const auto& triangle : small) {
      bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, triangle, 3, 0);
    }
  };
  spans::AffineSpan*& installed = span_tables.rgb32_affine[1];
  spans::AffineSpan* const kernel = installed;
  installed = keep_call;
  calls.clear();
  draw_triangles();
  installed = kernel;

  for (auto _ : state) {
    if (what == Small::kTriangles) {
      draw_triangles();
    } else if (what == Small::kSpansAlone) {
      for (const SpanCall& c : calls) {
        kernel(c.row, c.first, c.last, c.src, c.pitch, c.du, c.dv, c.u_start, c.v_start, c.u_max, c.v_max);
      }
    } else {
      bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, quad, 4, 0);
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
  for (const auto& [name, what] : {std::pair{"1000 of 10 pixels", Small::kTriangles},
                                   {"their spans alone", Small::kSpansAlone},
                                   {"one of as many pixels", Small::kOneQuad}}) {
    benchmark::RegisterBenchmark(
        (std::string("map_polygon/triangles/") + name).c_str(),
        [what = what](benchmark::State& state) { map_small_triangles(state, what); });
  }
  benchmark::RegisterBenchmark("map_polygon/scan conversion of a frame", scan_only);
  return true;
}();

}  // namespace
}  // namespace dorbmp::bench
