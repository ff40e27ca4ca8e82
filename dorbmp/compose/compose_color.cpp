#include "dorbmp/compose/compose.h"
#include "dorbmp/compose/rows.h"
#include "dorbmp/cpu/compose_kernels.h"

namespace dorbmp::compose {
namespace {

bool is_image(const Bitmap& dst) {
  return dst.format == BMP_FORMAT_RGB32 || dst.format == BMP_FORMAT_YUY2;
}

void compose_border(Bitmap& dst, const Bitmap& background, const Bitmap& foreground, const Bitmap& key,
                    const Bitmap& border_key, uint32_t color, FieldRows fields) {
  const int32_t count = dst.width;
  const int64_t image_bytes = count * image_pixel_bytes(dst);
  const int64_t key_bytes = int64_t{count} * 2;
  const int32_t rows = rows_of(fields, dst, count,
                               {{dst, image_bytes},
                                {background, image_bytes},
                                {foreground, image_bytes},
                                {key, key_bytes},
                                {border_key, key_bytes}});
  if (rows == 0) return;

  const Rows to(dst, fields, image_bytes), back(background, fields, image_bytes);
  const Rows fore(foreground, fields, image_bytes);
  const Rows keys(key, fields, key_bytes), borders(border_key, fields, key_bytes);
  BorderKernel* kernel =
      dst.format == BMP_FORMAT_RGB32 ? compose_kernels.color_border_rgb32 : compose_kernels.color_border_yuy2;
  kernel(count, rows, to.first, to.skip, back.first, back.skip, fore.first, fore.skip, keys.first, keys.skip,
         borders.first, borders.skip, color);
}

void compose_over_color(Bitmap& dst, const Bitmap& image, const Bitmap& key, uint32_t color,
                        FieldRows fields) {
  const int32_t count = dst.width;
  const int64_t image_bytes = count * image_pixel_bytes(dst);
  const int64_t key_bytes = int64_t{count} * 2;
  const int32_t rows =
      rows_of(fields, dst, count, {{dst, image_bytes}, {image, image_bytes}, {key, key_bytes}});
  if (rows == 0) return;

  const Rows to(dst, fields, image_bytes), from(image, fields, image_bytes), keys(key, fields, key_bytes);
  ColorKernel* kernel =
      dst.format == BMP_FORMAT_RGB32 ? compose_kernels.color_rgb32 : compose_kernels.color_yuy2;
  kernel(count, rows, to.first, to.skip, from.first, from.skip, keys.first, keys.skip, color);
}

}  // namespace

void compose_color(Bitmap& dst, const Bitmap& background, const Bitmap* foreground, const Bitmap& key,
                   const Bitmap* border_key, uint32_t color, uint32_t flags) {
  if (!is_image(dst) || dst.width <= 0) return;
  const FieldRows fields(flags);
  if (border_key != nullptr) {
    compose_border(dst, background, *foreground, key, *border_key, color, fields);
  } else {
    compose_over_color(dst, background, key, color, fields);
  }
}

}  // namespace dorbmp::compose
