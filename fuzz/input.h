// Calls from bytes: numbers of any value, pictures of any format and size whose blocks end where they end.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "dorbmp.h"
#include "support/levels.h"

namespace dorbmp::fuzz {

class Input {
 public:
  Input(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  bool is_empty() const { return size_ == 0; }

  // Zeros where the bytes have run out.
  template <class Type>
  Type take() {
    Type value = {};
    const size_t size = size_ < sizeof(Type) ? size_ : sizeof(Type);
    if (size > 0) std::memcpy(&value, bytes_, size);
    bytes_ += size;
    size_ -= size;
    return value;
  }

  uint32_t below(uint32_t end) { return take<uint8_t>() % end; }

  // Most often near a picture's edges, else any number.
  int32_t coordinate() {
    if (below(8) == 0) return take<int32_t>();
    return take<int8_t>();
  }
  float real() {
    if (below(8) == 0) return take<float>();
    return static_cast<float>(take<int16_t>()) / 256;
  }
  uint32_t flags() { return below(4) == 0 ? take<uint32_t>() : take<uint8_t>(); }

 private:
  const uint8_t* bytes_;
  size_t size_;
};

inline constexpr int32_t kBytesPerPixel[] = {2, 4, 2, 4, 4, 4, 1, 1};

struct Size {
  int32_t width;
  int32_t height;

  Size(int32_t w, int32_t h) : width(w), height(h) {}
  explicit Size(Input& input)
      : width(static_cast<int32_t>(input.below(72))), height(static_cast<int32_t>(input.below(12))) {}
};

// A record over a block of its own. The block may begin off the 16-byte grid and ends with the last line, so
// that the address sanitizer sees whatever leaves it; what it holds follows from one byte of the input.
class Picture {
 public:
  Picture(Input& input, uint32_t format, Size size, uint32_t value_limit = 0, uint32_t unit = 1) : bitmap_{} {
    bitmap_.format = format;
    bitmap_.bytes_per_pixel = kBytesPerPixel[format];
    const uint32_t step = std::max(unit, static_cast<uint32_t>(bitmap_.bytes_per_pixel));
    const size_t offset = input.below(4) == 0 ? input.below(16) / step * step : 0;
    bitmap_.bits_per_pixel = 8 * bitmap_.bytes_per_pixel;
    bitmap_.width = size.width;
    bitmap_.height = size.height;
    bitmap_.field_mode = input.below(8) == 0 ? input.below(4) : 0;
    bitmap_.pitch = (size.width * bitmap_.bytes_per_pixel + 15) & ~15;
    bytes_ = static_cast<size_t>(bitmap_.pitch) * static_cast<size_t>(size.height);
    block_ = static_cast<uint8_t*>(std::malloc(offset + bytes_));
    bitmap_.pixels = block_ + offset;
    fill(input.take<uint8_t>(), value_limit);
  }
  ~Picture() {
    std::free(bitmap_.display_header);
    std::free(block_);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  Bitmap* operator&() { return &bitmap_; }
  Bitmap* operator->() { return &bitmap_; }
  const uint8_t* pixels() const { return bitmap_.pixels; }
  size_t bytes() const { return bytes_; }

 private:
  // value_limit bounds 16-bit words, for keys that stay on their scale; 0 leaves all bits free.
  void fill(uint32_t seed, uint32_t value_limit) {
    uint32_t state = seed * 2654435761u + 1;
    for (size_t i = 0; i + 1 < bytes_; i += 2) {
      state = state * 1664525 + 1013904223;
      uint32_t word = state >> 16;
      if (value_limit > 0) word = bitmap_.bytes_per_pixel == 1 ? (word % 129) * 0x0101 : word % value_limit;
      const auto stored = static_cast<uint16_t>(word);
      std::memcpy(bitmap_.pixels + i, &stored, 2);
    }
  }

  Bitmap bitmap_;
  size_t bytes_;
  uint8_t* block_;
};

inline const test::Setting& setting(Input& input) {
  return test::kSettings[input.below(static_cast<uint32_t>(test::kSettings.size()))];
}

}  // namespace dorbmp::fuzz
