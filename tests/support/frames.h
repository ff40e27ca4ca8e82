// Frames for tests: any alignment, random contents, every byte of the block in sight.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "dorbmp.h"

namespace dorbmp::test {

// The same numbers on every system; a test's seed is its name to a failure.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  uint32_t next() {
    state_ += 0x9E3779B97F4A7C15;
    uint64_t z = state_;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return static_cast<uint32_t>((z ^ z >> 31) >> 32);
  }

  // low to high, both included.
  int32_t between(int32_t low, int32_t high) {
    const uint64_t range = static_cast<uint64_t>(int64_t{high} - low) + 1;
    return static_cast<int32_t>(low + static_cast<int64_t>(next() * range >> 32));
  }

  // At least low, below high.
  float real(float low, float high) {
    return low + (high - low) * (static_cast<float>(next() >> 8) * 0x1p-24f);
  }

  bool chance(int one_in) { return between(1, one_in) == 1; }

 private:
  uint64_t state_;
};

inline int bytes_per_pixel(uint32_t format) {
  constexpr int kBytes[] = {2, 4, 2, 4, 4, 4, 1, 1};
  return kBytes[format];
}

// How a frame lies in memory. The default is what bmp_create gives.
struct Layout {
  int offset = 0;       // bytes before line 0 in the block; the block itself is 16-byte aligned
  int extra_pitch = 0;  // bytes added to the padded line
  uint32_t field_mode = 0;
};

// A bitmap record over a block of its own, filled with random bytes. The block ends with the last line's
// padding, so that the address sanitizer sees any access beyond.
class Frame {
 public:
  Frame(int32_t width, int32_t height, uint32_t format, Random& random, Layout layout = {})
      : bitmap_{}, size_(0), block_(nullptr) {
    const int bytes = bytes_per_pixel(format);
    bitmap_.width = width;
    bitmap_.height = height;
    bitmap_.pitch = ((bytes * width + 15) & ~15) + layout.extra_pitch;
    bitmap_.bits_per_pixel = bytes * 8;
    bitmap_.bytes_per_pixel = bytes;
    bitmap_.field_mode = layout.field_mode;
    bitmap_.format = format;
    size_ =
        static_cast<size_t>(layout.offset) + static_cast<size_t>(bitmap_.pitch) * static_cast<size_t>(height);
    block_.reset(static_cast<uint8_t*>(::operator new (size_ + 1, std::align_val_t{16})));
    bitmap_.pixels = block_.get() + layout.offset;
    fill(random);
  }

  Bitmap* operator&() { return &bitmap_; }
  Bitmap* operator->() { return &bitmap_; }
  Bitmap& bitmap() { return bitmap_; }

  uint8_t* row(int32_t y) { return bitmap_.pixels + static_cast<ptrdiff_t>(y) * bitmap_.pitch; }

  template <class Pixel>
  Pixel at(int32_t x, int32_t y) {
    Pixel pixel;
    std::memcpy(&pixel, row(y) + static_cast<size_t>(x) * sizeof(Pixel), sizeof(Pixel));
    return pixel;
  }

  template <class Pixel>
  void set(int32_t x, int32_t y, Pixel pixel) {
    std::memcpy(row(y) + static_cast<size_t>(x) * sizeof(Pixel), &pixel, sizeof(Pixel));
  }

  void fill(Random& random) {
    for (size_t i = 0; i < size_; ++i) block_.get()[i] = static_cast<uint8_t>(random.next());
  }

  // Every word of every line, padding included, becomes a key: 0..4096, the ends often.
  void fill_keys16(Random& random) {
    for (int32_t y = 0; y < bitmap_.height; ++y) {
      for (int32_t x = 0; x < bitmap_.pitch / 2; ++x) {
        const int32_t key = random.chance(4) ? random.between(0, 1) * 4096 : random.between(0, 4096);
        set(x, y, static_cast<uint16_t>(key));
      }
    }
  }

  void fill_keys8(Random& random) {
    for (size_t i = 0; i < size_; ++i) {
      block_.get()[i] =
          static_cast<uint8_t>(random.chance(4) ? random.between(0, 1) * 128 : random.between(0, 128));
    }
  }

  // The whole block, bytes before line 0 and padding included.
  std::vector<uint8_t> bytes() const { return {block_.get(), block_.get() + size_}; }
  void set_bytes(const std::vector<uint8_t>& bytes) { std::memcpy(block_.get(), bytes.data(), size_); }
  size_t offset() const { return static_cast<size_t>(bitmap_.pixels - block_.get()); }

 private:
  struct Release {
    void operator()(uint8_t* block) const { ::operator delete (block, std::align_val_t{16}); }
  };

  Bitmap bitmap_;
  size_t size_;
  std::unique_ptr<uint8_t, Release> block_;
};

// Empty where the blocks are equal, else the first difference in words.
std::string difference(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& got,
                       const Bitmap& bitmap, size_t offset);
inline std::string difference(const std::vector<uint8_t>& expected, Frame& got) {
  return difference(expected, got.bytes(), got.bitmap(), got.offset());
}

// Whether the floating-point stack is empty, as MMX code must leave it.
bool x87_is_empty();

}  // namespace dorbmp::test
