#include "dorbmp/bitmap.h"
#include "dorbmp/raster/raster.h"
#include "dorbmp/raster/rows.h"

namespace dorbmp::raster {
namespace {

// A position and a length along one axis; 64 bits, so that no sum of arguments wraps.
struct Extent {
  int64_t dst;
  int64_t src;
  int64_t length;

  // False where nothing is left. Leaving the source's near edge moves the destination along; leaving the
  // destination's near edge leaves the source where it is.
  bool clip(int64_t dst_size, int64_t src_size) {
    if (src >= src_size || src + length <= 0) return false;
    if (src < 0) {
      dst -= src;
      length += src;
      src = 0;
    }
    if (src + length > src_size) length = src_size - src;

    if (dst >= dst_size || dst + length <= 0) return false;
    if (dst < 0) {
      length += dst;
      dst = 0;
    }
    if (dst + length > dst_size) length = dst_size - dst;
    return length > 0;
  }

  // Keeps the lines of one field of the destination.
  bool keep_field(int32_t parity) {
    if ((dst & 1) != parity) {
      ++dst;
      ++src;
      --length;
    }
    length = (length + 1) / 2;
    return length > 0;
  }
};

}  // namespace

void blt(Bitmap& dst, int32_t dest_x, int32_t dest_y, int32_t width, int32_t height, const Bitmap& src,
         int32_t src_x, int32_t src_y, uint32_t flags) {
  Extent columns{dest_x, src_x, width};
  Extent lines{dest_y, src_y, height};
  if (!columns.clip(dst.width, src.width) || !lines.clip(dst.height, src.height)) return;

  const int64_t bytes = columns.length * dst.bytes_per_pixel;
  const int64_t src_offset = columns.src * src.bytes_per_pixel;
  if (src_offset + bytes > src.pitch) return;  // pixels of unequal size, past the source's lines

  int32_t step = 1;
  if ((flags & BMP_FIELD_ONLY) != 0) {
    if (!lines.keep_field(flags & BMP_FIELD_ODD)) return;
    step = 2;
  }

  uint8_t* to = pixel_address(dst, static_cast<int32_t>(columns.dst), static_cast<int32_t>(lines.dst));
  const uint8_t* from =
      pixel_address(src, static_cast<int32_t>(columns.src), static_cast<int32_t>(lines.src));
  for (int64_t i = 0; i < lines.length; ++i) {
    copy_forward(to, from, static_cast<size_t>(bytes));
    to += ptrdiff_t{step} * dst.pitch;
    from += ptrdiff_t{step} * src.pitch;
  }
}

}  // namespace dorbmp::raster
