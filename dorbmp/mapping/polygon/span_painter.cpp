#include "dorbmp/mapping/polygon/span_painter.h"

#include "dorbmp/cpu/span_tables.h"

namespace dorbmp::mapping {

using namespace spans;

SpanPainter::SpanPainter(const Bitmap& dst, const Mapping& mapping, const TextureView& view,
                         const Filter& filter)
    : src_(view.src),
      pitch_(view.pitch),
      u_bias_(filter.u_bias),
      v_bias_(filter.v_bias + view.v_bias),
      u_max_(coordinate_limit(view.width, filter.u_margin)),
      v_max_(coordinate_limit(view.height, filter.v_margin)),
      aux_(mapping.aux) {
  if (view.width < 1 || view.height < 1) return;
  bool small = false;
  if (filter.slot != 0) {
    const int32_t half_width = kHalfWidths[(filter.slot - 1) % 5];
    const int32_t half_height = kHalfHeights[(filter.slot - 1) / 5];
    small = int64_t{view.width} * 2 < half_width || int64_t{view.height} * 2 < half_height;
    small_ = {src_, pitch_, view.width - 1, view.height - 1, half_width, half_height};
  }
  choose_kernel(dst, mapping, filter.slot, small);
  if (small) src_ = static_cast<const uint8_t*>(static_cast<const void*>(&small_));
}

void SpanPainter::choose_kernel(const Bitmap& dst, const Mapping& mapping, int32_t slot, bool small) {
  const auto pick = [&](const auto& installed, const auto& kernels) {
    return small ? kernels.small : installed[static_cast<size_t>(slot)];
  };
  const bool has_value = (mapping.flags & BMP_MAP_AUX) != 0;
  const Bitmap* const depths = mapping.depths;
  const bool tests_depth = depths != nullptr || has_value;
  // A depth test needs its depths: a plane that covers the picture, or a row of the caller's.
  const auto depths_are_there = [&] {
    return depths != nullptr ? holds(*depths, kDepthBytes * dst.width, dst.height) : aux_ != nullptr;
  };
  const auto choose = [&](AffineSpan* affine, PerspectiveSpan* perspective, AuxSpan* depth) {
    if (dst.format != mapping.texture.format) return;
    if (!mapping.perspective) {
      affine_ = affine;
    } else if (!tests_depth || depth == nullptr) {
      perspective_ = perspective;
    } else if (depths_are_there()) {
      with_aux_ = depth;
      depth_tested_ = true;
      depths_ = depths;
    }
  };

  const SpanTables& tables = span_tables;
  switch (mapping.texture.format) {
    case BMP_FORMAT_YUY2:
      choose(pick(tables.yuy2_affine, plain::yuy2_affine),
             pick(tables.yuy2_perspective, plain::yuy2_perspective),
             pick(tables.yuy2_depth, plain::yuy2_depth));
      break;
    case BMP_FORMAT_RGB32:
      choose(pick(tables.rgb32_affine, plain::rgb32_affine),
             pick(tables.rgb32_perspective, plain::rgb32_perspective),
             pick(tables.rgb32_depth, plain::rgb32_depth));
      break;
    case BMP_FORMAT_KEY16:
      choose(pick(tables.key16_affine, plain::key16_affine),
             pick(tables.key16_perspective, plain::key16_perspective), nullptr);
      break;
    case BMP_FORMAT_KEY8:
      if (!has_value) break;
      if (dst.format == BMP_FORMAT_YUY2) with_aux_ = pick(tables.matte_yuy2, plain::matte_yuy2);
      if (dst.format == BMP_FORMAT_RGB32) with_aux_ = pick(tables.matte_rgb32, plain::matte_rgb32);
      break;
    default:
      break;
  }
}

}  // namespace dorbmp::mapping
