#include "dorbmp/bitmap.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

#include "dorbmp/fields.h"

namespace dorbmp {
namespace {

// A code above 7 takes its bytes per pixel from the height; hosts rely on it for raw blocks.
int32_t bytes_per_pixel_of(uint32_t format, int32_t height) {
  constexpr int32_t kBytes[] = {2, 4, 2, 4, 4, 4, 1, 1};
  return format < std::size(kBytes) ? kBytes[format] : height;
}

constexpr uint32_t fourcc(const char (&text)[5]) {
  return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
         static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
         static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
         static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
}

uint32_t fourcc_of(uint32_t format) {
  switch (format) {
    case BMP_FORMAT_YUY2:
      return fourcc("YUY2");
    case BMP_FORMAT_RGB32:
      return fourcc("RGBQ");
    case BMP_FORMAT_KEY16:
      return fourcc("PWRW");
    case BMP_FORMAT_PAL8:
      return fourcc("RGB8");
    default:
      return 0;
  }
}

// Record and alignment gap: 64 bytes on 32-bit targets.
constexpr int64_t kOverhead = sizeof(Bitmap) + 16;

}  // namespace

Bitmap* create(int32_t width, int32_t height, uint32_t format, uint32_t flags) {
  if (width < 0 || height < 0) return nullptr;
  const int32_t bytes_per_pixel = bytes_per_pixel_of(format, height);
  // At most 2^62 + 15 before the pitch is known to fit 31 bits, and as much again in the size.
  const int64_t pitch = (int64_t{bytes_per_pixel} * width + 15) & ~int64_t{15};
  if (pitch > INT32_MAX || pitch * height > INT32_MAX - kOverhead) return nullptr;

  const size_t size = static_cast<size_t>(pitch * height + kOverhead);
  void* block = (flags & BMP_CREATE_ZEROED) != 0 ? std::calloc(size, 1) : std::malloc(size);
  if (block == nullptr) return nullptr;

  const uint32_t field_mode = flags & BMP_FIELD_MASK;
  const uintptr_t pixels = (reinterpret_cast<uintptr_t>(block) + sizeof(Bitmap) + 15) & ~uintptr_t{15};
  return new (block) Bitmap{
      .width = width,
      .height = height,
      .pitch = static_cast<int32_t>(pitch),
      .bits_per_pixel = static_cast<int32_t>(static_cast<uint32_t>(bytes_per_pixel) * 8),
      .pixels = reinterpret_cast<uint8_t*>(pixels),
      .display_header = nullptr,
      .fourcc = fourcc_of(format),
      .field_order = (field_mode & BMP_FIELD_ONLY) != 0 ? field_mode - 1 : 0,
      .reserved = 0,
      .bytes_per_pixel = bytes_per_pixel,
      .field_mode = field_mode,
      .format = format,
  };
}

void destroy(Bitmap* bitmap) {
  if (bitmap == nullptr) return;
  std::free(bitmap->display_header);
  std::free(bitmap);
}

void clear(Bitmap& bitmap, uint32_t flags) {
  const FieldRows rows(flags);
  const int32_t count = rows.count(bitmap.height);
  if (count == 0 || bitmap.pitch <= 0) return;
  uint8_t* line = pixel_address(bitmap, 0, rows.first);
  const size_t pitch = static_cast<size_t>(bitmap.pitch);
  if (rows.step == 1) {
    std::memset(line, 0, pitch * static_cast<size_t>(count));
    return;
  }
  for (int32_t i = 0; i < count; ++i) std::memset(line + static_cast<size_t>(i) * 2 * pitch, 0, pitch);
}

}  // namespace dorbmp
