// Ahead of the block that is mixed: placing the next ones, and fetching what lies farther on.
#pragma once

#include "dorbmp/mapping/spans/walk_avx2.h"

namespace dorbmp::spans::avx2 {
namespace {  // files with different instruction sets must not share these

// How far ahead the texture is fetched, in pixels: measured, 64 to 256 are much the same.
constexpr int32_t kAhead = 128;

// From a texture's start to (u, v), in bytes, of texels of that size.
DORBMP_INLINE int64_t bytes_apart(float u, float v, int32_t pitch, int32_t texel) {
  const auto whole = [](float texels) { return int64_t{_mm_cvttss_si32(_mm_set_ss(texels)) >> 16}; };
  return whole(v) * pitch + whole(u) * texel;
}

// From where an affine span samples to where it does so some blocks later: time for a line of the texture to
// come from memory.
DORBMP_INLINE int64_t way_ahead(float du, float dv, int32_t pitch, int32_t texel) {
  return bytes_apart(du * float{kAhead}, dv * float{kAhead}, pitch, texel);
}

// Of an address that need not exist.
DORBMP_INLINE void fetch(const uint8_t* from, int64_t offset) {
  DORBMP_PREFETCH(
      reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(from) + static_cast<uintptr_t>(offset)));
}

// Calls run with a function that gives the next block, mixed. Blocks are placed two ahead of it, so that its
// loads need not wait for their addresses (one ahead: 1.12 and 1.38 ns a pixel of packed 4:2:2, two: 1.03 and
// 1.22); what lies farther ahead, by that many bytes, is fetched.
template <class Sampler, class Walk, class Run>
DORBMP_INLINE void run_ahead(const Sampler& sampler, Walk& walk, int64_t ahead, Run run) {
  typename Sampler::Block blocks[4];
  uint32_t current = 0;
  sampler.place(blocks[0], walk.next());
  sampler.place(blocks[1], walk.next());
  run([&] {
    auto& placed = blocks[(current + 2) % 4];
    sampler.place(placed, walk.next());
    sampler.fetch_from(placed, ahead);
    return sampler.mix(blocks[current++ % 4]);
  });
}

}  // namespace
}  // namespace dorbmp::spans::avx2
