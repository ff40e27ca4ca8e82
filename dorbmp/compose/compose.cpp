#include "dorbmp/compose/compose.h"

#include "dorbmp/bitmap.h"
#include "dorbmp/compose/rows.h"
#include "dorbmp/cpu/compose_kernels.h"
#include "dorbmp/fixed.h"

namespace dorbmp::compose {
namespace {

template <class... Bitmaps>
bool rows_are_aligned(const Bitmaps&... bitmaps) {
  return ((... | reinterpret_cast<uintptr_t>(bitmaps.pixels)) & 15) == 0 &&
         ((... | static_cast<uint32_t>(bitmaps.pitch)) & 15) == 0;
}

constexpr int32_t round_up(int32_t value, int32_t step) {
  return (value + step - 1) & -step;
}

void mix(Bitmap& dst, const Bitmap& background, const Bitmap& foreground, int32_t level, FieldRows fields) {
  const bool aligned = rows_are_aligned(dst, background, foreground);
  const int32_t count = aligned ? dst.pitch : round_up(dst.pitch, 4);
  const int32_t rows = rows_of(fields, dst, 0, {{dst, count}, {background, count}, {foreground, count}});
  if (rows == 0 || count == 0) return;

  const Rows to(dst, fields, count), back(background, fields, count), fore(foreground, fields, count);
  // The level may be any number: its complement wraps.
  const auto background_weight = static_cast<int32_t>(uint32_t{kFullKey} - static_cast<uint32_t>(level));
  MixKernel* kernel = aligned ? compose_kernels.mix_aligned : compose_kernels.mix;
  kernel(count, rows, to.first, to.skip, back.first, back.skip, background_weight, fore.first, fore.skip,
         level);
}

// The slot for a key format and a destination format, and what its kernel counts in.
struct Choice {
  KeyedKernel* kernel;
  int32_t count;
};

Choice choose_key8(const Bitmap& dst, const Bitmap& background, const Bitmap& foreground) {
  switch (dst.format) {
    case BMP_FORMAT_RGB32:
      return {compose_kernels.key8_rgb32, round_up(dst.width, 2)};
    case BMP_FORMAT_YUY2:
      // The key is read with loads that need no alignment, so it has no part in the test.
      if (rows_are_aligned(dst, background, foreground)) {
        return {compose_kernels.key8_yuy2_aligned, round_up(dst.width, 8)};
      }
      return {compose_kernels.key8_yuy2, round_up(dst.width, 4)};
    default:
      return {};
  }
}

Choice choose_key16(const Bitmap& dst, const Bitmap& background, const Bitmap& foreground,
                    const Bitmap& key) {
  switch (dst.format) {
    case BMP_FORMAT_RGB32:
      return {compose_kernels.key16_rgb32, dst.width};
    case BMP_FORMAT_YUY2:
      if (rows_are_aligned(dst, background, foreground, key)) {
        return {compose_kernels.key16_yuy2_aligned, round_up(dst.width, 8)};
      }
      return {compose_kernels.key16_yuy2, round_up(dst.width, 4)};
    default:
      return {};
  }
}

void compose_keyed(Bitmap& dst, const Bitmap& background, const Bitmap& foreground, const Bitmap& key,
                   FieldRows fields) {
  const bool key8 = key.format == BMP_FORMAT_KEY8;
  const auto [kernel, count] =
      key8 ? choose_key8(dst, background, foreground) : choose_key16(dst, background, foreground, key);
  if (kernel == nullptr || count <= 0) return;

  const int64_t image_bytes = int64_t{count} * image_pixel_bytes(dst);
  const int64_t key_bytes = int64_t{count} * (key8 ? 1 : 2);
  const int32_t rows =
      rows_of(fields, dst, dst.width,
              {{dst, image_bytes}, {background, image_bytes}, {foreground, image_bytes}, {key, key_bytes}});
  if (rows == 0) return;

  const Rows to(dst, fields, image_bytes), back(background, fields, image_bytes);
  const Rows fore(foreground, fields, image_bytes), keys(key, fields, key_bytes);
  kernel(count, rows, to.first, to.skip, back.first, back.skip, fore.first, fore.skip, keys.first, keys.skip);
}

}  // namespace

void compose(Bitmap& dst, const Bitmap& background, const Bitmap& foreground, const void* key,
             uint32_t flags) {
  const FieldRows fields(flags);
  if ((flags & BMP_COMPOSE_MIX) != 0) {
    mix(dst, background, foreground, static_cast<int32_t>(reinterpret_cast<uintptr_t>(key)), fields);
  } else {
    compose_keyed(dst, background, foreground, *static_cast<const Bitmap*>(key), fields);
  }
}

}  // namespace dorbmp::compose
