#include "dorbmp/mapping/polygon/map_polygon.h"

#include <algorithm>

#include "dorbmp/mapping/polygon/one_value.h"
#include "dorbmp/mapping/polygon/scan.h"

namespace dorbmp::mapping {
namespace {

// Affine where nothing asks for more: all weights exactly alike, no depths, no 8-bit texture.
bool needs_perspective(const Bitmap& texture, const Bitmap* depths, const PolygonVertex* vertices,
                       int32_t count) {
  return depths != nullptr || texture.format == BMP_FORMAT_KEY8 ||
         std::any_of(vertices, vertices + std::max(count, 0),
                     [q = vertices->q](const PolygonVertex& vertex) { return vertex.q != q; });
}

}  // namespace

void map_polygon(Bitmap* dst, Bitmap* cover, Bitmap* depths, const void* texture_a, const void* texture_b,
                 const PolygonVertex* vertices, int32_t count, uint32_t flags) {
  if (count < 1 || count > BMP_MAX_VERTICES) return;
  Bitmap& target = dst != nullptr ? *dst : *cover;
  const Bitmap* const plane = dst != nullptr ? cover : nullptr;

  if ((flags & BMP_MAP_ONE_VALUE) == BMP_MAP_ONE_VALUE) {
    fill_polygon(target, plane, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(texture_a)),
                 static_cast<int32_t>(reinterpret_cast<uintptr_t>(texture_b)), vertices, count, flags);
    return;
  }
  const bool from_a = texture_a != nullptr && (flags & BMP_MAP_AUX) == 0;
  const Bitmap& texture = *static_cast<const Bitmap*>(from_a ? texture_a : texture_b);
  void* const aux = from_a ? nullptr : const_cast<void*>(texture_a);
  scan_polygon(target, plane,
               {texture, depths, aux, flags, needs_perspective(texture, depths, vertices, count)}, vertices,
               count);
}

}  // namespace dorbmp::mapping
