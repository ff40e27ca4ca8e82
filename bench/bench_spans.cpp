#include "dorbmp/cpu/span_tables.h"
#include "polygons.h"

namespace dorbmp::bench {
namespace {

void install(int level) {
  install_span_tables(static_cast<CpuLevel>(level));
}

struct Filter {
  const char* name;
  uint32_t flags;
  Size texture;
  float zoom;  // chooses the filter
};

constexpr Filter kFilters[] = {
    {"nearest", BMP_MAP_NEAREST, kFullFrame, kCoveringZoom},
    {"bilinear", 0, kFullFrame, kCoveringZoom},
    {"box2x2", 0, {3840, 2160}, 1 / 2.0f},
    {"box4x4", 0, {3840, 2160}, 1 / 4.0f},
};

struct Kind {
  const char* name;
  uint32_t texture;
  uint32_t dst;
  int64_t bytes;
};

constexpr Kind kKinds[] = {
    {"rgb32", BMP_FORMAT_RGB32, BMP_FORMAT_RGB32, 4},
    {"yuy2", BMP_FORMAT_YUY2, BMP_FORMAT_YUY2, 2},
    {"key16", BMP_FORMAT_KEY16, BMP_FORMAT_KEY16, 2},
    {"matte_rgb32", BMP_FORMAT_KEY8, BMP_FORMAT_RGB32, 4},
    {"matte_yuy2", BMP_FORMAT_KEY8, BMP_FORMAT_YUY2, 2},
};

int64_t pixels_of(const TurnedQuad& quad) {
  const auto vertices = quad.vertices();
  Frame dst(bmp_create(quad.dst.width, quad.dst.height, BMP_FORMAT_KEY16, BMP_CREATE_ZEROED));
  Frame one(bmp_create(1, 1, BMP_FORMAT_KEY16, 0));
  *reinterpret_cast<uint16_t*>(one->pixels) = 1;
  bmp_map_polygon(dst.get(), nullptr, nullptr, one.get(), nullptr, vertices.data(), 4, BMP_MAP_NEAREST);
  int64_t count = 0;
  for (int32_t y = 0; y < quad.dst.height; ++y) {
    const auto* row = reinterpret_cast<const uint16_t*>(dst->pixels + static_cast<ptrdiff_t>(y) * dst->pitch);
    for (int32_t x = 0; x < quad.dst.width; ++x) count += row[x];
  }
  return count;
}

void map_quad(benchmark::State& state, const Kind& kind, const Filter& filter, bool perspective, int level,
              uint32_t flags) {
  const TurnedQuad quad{filter.texture, kFullFrame, filter.zoom, perspective};
  const auto vertices = quad.vertices();
  const Frame dst = make_frame(kFullFrame, kind.dst);
  const Frame texture = make_frame(filter.texture, kind.texture);
  const bool matte = kind.texture == BMP_FORMAT_KEY8;
  if (matte) flags |= BMP_MAP_AUX;
  const void* const first = matte ? BMP_VALUE(0x804020) : texture.get();
  const int64_t pixels = pixels_of(quad);
  install(level);
  for (auto _ : state) {
    bmp_map_polygon(dst.get(), nullptr, nullptr, first, texture.get(), vertices.data(), 4,
                    filter.flags | flags);
    benchmark::ClobberMemory();
  }
  install(detect_cpu_level());
  report(state, pixels, pixels * 2 * kind.bytes);
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
  const TurnedQuad quad{kFullFrame, sliver, kCoveringZoom, false};
  const auto vertices = quad.vertices();
  const Frame dst = make_frame(sliver, BMP_FORMAT_RGB32);
  const Frame texture = make_frame(kFullFrame, BMP_FORMAT_RGB32);
  for (auto _ : state) {
    bmp_map_polygon(dst.get(), nullptr, nullptr, texture.get(), nullptr, vertices.data(), 4, 0);
    benchmark::ClobberMemory();
  }
  report(state, kFullFrame.pixels(), 0);
}

[[maybe_unused]] const bool registered = [] {
  for (const Kind& kind : kKinds) {
    for (const Filter& filter : kFilters) {
      for (const bool perspective : {false, true}) {
        if (!perspective && kind.texture == BMP_FORMAT_KEY8) continue;
        for (const int level : {0, 2, 4}) {
          const std::string name = std::string("map_polygon/") + kind.name + "/" + filter.name +
                                   (perspective ? "/perspective" : "/affine") + "/level" +
                                   std::to_string(level);
          benchmark::RegisterBenchmark(name.c_str(), [=, &kind, &filter](benchmark::State& state) {
            map_quad(state, kind, filter, perspective, level, 0);
          });
        }
      }
    }
  }
  benchmark::RegisterBenchmark("map_polygon/rgb32/bilinear/affine/smooth", [](benchmark::State& state) {
    map_quad(state, kKinds[0], kFilters[1], false, kLevelSse2, BMP_MAP_SMOOTH);
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
