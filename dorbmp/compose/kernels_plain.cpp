// Composition, plain integer code.
//
// 16-bit keys: (f * k + b * (4096 - k)) / 4096, truncated toward zero. 8-bit keys: the same on 128, equal to
// every other family. Constant mix: a shift by 12, unsigned. Colour with a border key: rounded to nearest;
// without: truncated on RGB32, rounded on 4:2:2. Never clamped: the low 8 bits are stored, which matters for
// keys off their scale alone. Byte 3 of an RGB32 pixel is left as it is. Composition takes a pair's chroma
// key from the even pixel, colour composition from the sum of both.
#include <cstring>

#include "dorbmp/compiler.h"
#include "dorbmp/compose/each_row.h"
#include "dorbmp/compose/kernels.h"
#include "dorbmp/fixed.h"

namespace dorbmp::compose::plain {
namespace {

struct Key16 {
  static constexpr int32_t kFull = kFullKey;
  static constexpr int kBytes = 2;
  static int32_t load(const uint8_t* key) {
    uint16_t value;
    std::memcpy(&value, key, sizeof(value));
    return value;
  }
};

struct Key8 {
  static constexpr int32_t kFull = kFullKey8;
  static constexpr int kBytes = 1;
  static int32_t load(const uint8_t* key) { return *key; }
};

template <class Key>
uint8_t blend(int32_t foreground, int32_t background, int32_t key) {
  return static_cast<uint8_t>(truncating<Key::kFull>(foreground * key + background * (Key::kFull - key)));
}

template <class Key>
void rgb32_row(int32_t count, uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
               const uint8_t* key) {
  for (; count > 0; --count) {
    const int32_t k = Key::load(key);
    for (int c = 0; c < 3; ++c) dst[c] = blend<Key>(foreground[c], background[c], k);
    dst += 4;
    background += 4;
    foreground += 4;
    key += Key::kBytes;
  }
}

template <class Key>
void yuy2_row(int32_t count, uint8_t* dst, const uint8_t* background, const uint8_t* foreground,
              const uint8_t* key) {
  for (; count >= 2; count -= 2) {
    const int32_t even = Key::load(key);
    const int32_t odd = Key::load(key + Key::kBytes);
    dst[0] = blend<Key>(foreground[0], background[0], even);
    dst[1] = blend<Key>(foreground[1], background[1], even);
    dst[2] = blend<Key>(foreground[2], background[2], odd);
    dst[3] = blend<Key>(foreground[3], background[3], even);
    dst += 4;
    background += 4;
    foreground += 4;
    key += 2 * Key::kBytes;
  }
}

int32_t component(uint32_t color, int low_bit) {
  return static_cast<int32_t>(color >> low_bit & 0xFF);
}

// Three layers; the weights sum to the scale, 1 << Bits.
template <int Bits>
uint8_t blend_border(int32_t background, int32_t foreground, int32_t color, int32_t key, int32_t border) {
  constexpr int32_t kFull = 1 << Bits;
  return static_cast<uint8_t>(
      to_nearest<Bits>(background * (kFull - border) + foreground * key + color * (border - key)));
}

template <int32_t Full>
uint8_t blend_color_to_nearest(int32_t image, int32_t color, int32_t key) {
  return static_cast<uint8_t>(truncating<Full>(image * key + color * (Full - key) + Full / 2));
}

}  // namespace

void BMP_CALL key16_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                          const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                          ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [count](auto... row) { rgb32_row<Key16>(count, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(background, background_skip, count, 4), Plane(foreground, foreground_skip, count, 4),
      Plane(key, key_skip, count, Key16::kBytes));
}

void BMP_CALL key8_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [count](auto... row) { rgb32_row<Key8>(count, row...); }, Plane(dst, dst_skip, count, 4),
      Plane(background, background_skip, count, 4), Plane(foreground, foreground_skip, count, 4),
      Plane(key, key_skip, count, Key8::kBytes));
}

void BMP_CALL key16_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                         const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                         ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [count](auto... row) { yuy2_row<Key16>(count, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(background, background_skip, count, 2), Plane(foreground, foreground_skip, count, 2),
      Plane(key, key_skip, count, Key16::kBytes));
}

void BMP_CALL key8_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                        const uint8_t* background, ptrdiff_t background_skip, const uint8_t* foreground,
                        ptrdiff_t foreground_skip, const uint8_t* key, ptrdiff_t key_skip) {
  each_row(
      rows, [count](auto... row) { yuy2_row<Key8>(count, row...); }, Plane(dst, dst_skip, count, 2),
      Plane(background, background_skip, count, 2), Plane(foreground, foreground_skip, count, 2),
      Plane(key, key_skip, count, Key8::kBytes));
}

void BMP_CALL mix(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* background,
                  ptrdiff_t background_skip, int32_t background_weight, const uint8_t* foreground,
                  ptrdiff_t foreground_skip, int32_t level) {
  const auto wb = static_cast<uint32_t>(background_weight);
  const auto wf = static_cast<uint32_t>(level);
  each_row(
      rows,
      [=](uint8_t* d, const uint8_t* b, const uint8_t* f) {
        for (int32_t i = 0; i < count; ++i) d[i] = static_cast<uint8_t>((b[i] * wb + f[i] * wf) >> 12);
      },
      Plane(dst, dst_skip, count, 1), Plane(background, background_skip, count, 1),
      Plane(foreground, foreground_skip, count, 1));
}

// The colour's bytes are taken in reverse order here, and here alone: hosts of level 0 depend on it.
void BMP_CALL color_border_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                 const uint8_t* background, ptrdiff_t background_skip,
                                 const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                 ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                 uint32_t color) {
  const int32_t components[] = {component(color, 16), component(color, 8), component(color, 0)};
  each_row(
      rows,
      [&](uint8_t* d, const uint8_t* b, const uint8_t* f, const uint8_t* k, const uint8_t* border) {
        for (int32_t i = 0; i < count; ++i, d += 4, b += 4, f += 4, k += 2, border += 2) {
          const int32_t ka = Key16::load(k), kb = Key16::load(border);
          for (int c = 0; c < 3; ++c) d[c] = blend_border<12>(b[c], f[c], components[c], ka, kb);
        }
      },
      Plane(dst, dst_skip, count, 4), Plane(background, background_skip, count, 4),
      Plane(foreground, foreground_skip, count, 4), Plane(key, key_skip, count, 2),
      Plane(border_key, border_key_skip, count, 2));
}

void BMP_CALL color_border_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip,
                                const uint8_t* background, ptrdiff_t background_skip,
                                const uint8_t* foreground, ptrdiff_t foreground_skip, const uint8_t* key,
                                ptrdiff_t key_skip, const uint8_t* border_key, ptrdiff_t border_key_skip,
                                uint32_t color) {
  const int32_t y = component(color, 16), u = component(color, 8), v = component(color, 0);
  each_row(
      rows,
      [=](uint8_t* d, const uint8_t* b, const uint8_t* f, const uint8_t* k, const uint8_t* border) {
        for (int32_t i = 0; i < count / 2; ++i, d += 4, b += 4, f += 4, k += 4, border += 4) {
          const int32_t ka0 = Key16::load(k), ka1 = Key16::load(k + 2);
          const int32_t kb0 = Key16::load(border), kb1 = Key16::load(border + 2);
          d[0] = blend_border<12>(b[0], f[0], y, ka0, kb0);
          d[1] = blend_border<13>(b[1], f[1], u, ka0 + ka1, kb0 + kb1);
          d[2] = blend_border<12>(b[2], f[2], y, ka1, kb1);
          d[3] = blend_border<13>(b[3], f[3], v, ka0 + ka1, kb0 + kb1);
        }
      },
      Plane(dst, dst_skip, count, 2), Plane(background, background_skip, count, 2),
      Plane(foreground, foreground_skip, count, 2), Plane(key, key_skip, count, 2),
      Plane(border_key, border_key_skip, count, 2));
}

void BMP_CALL color_rgb32(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* image,
                          ptrdiff_t image_skip, const uint8_t* key, ptrdiff_t key_skip, uint32_t color) {
  const int32_t components[] = {component(color, 0), component(color, 8), component(color, 16)};
  each_row(
      rows,
      [&](uint8_t* d, const uint8_t* s, const uint8_t* k) {
        for (int32_t i = 0; i < count; ++i, d += 4, s += 4, k += 2) {
          const int32_t weight = Key16::load(k);
          for (int c = 0; c < 3; ++c) d[c] = blend<Key16>(s[c], components[c], weight);
        }
      },
      Plane(dst, dst_skip, count, 4), Plane(image, image_skip, count, 4), Plane(key, key_skip, count, 2));
}

void BMP_CALL color_yuy2(int32_t count, int32_t rows, uint8_t* dst, ptrdiff_t dst_skip, const uint8_t* image,
                         ptrdiff_t image_skip, const uint8_t* key, ptrdiff_t key_skip, uint32_t color) {
  const int32_t y = component(color, 16), u = component(color, 8), v = component(color, 0);
  each_row(
      rows,
      [=](uint8_t* d, const uint8_t* s, const uint8_t* k) {
        for (int32_t i = 0; i < count / 2; ++i, d += 4, s += 4, k += 4) {
          const int32_t k0 = Key16::load(k), k1 = Key16::load(k + 2);
          d[0] = blend_color_to_nearest<kFullKey>(s[0], y, k0);
          d[1] = blend_color_to_nearest<kFullPair>(s[1], u, k0 + k1);
          d[2] = blend_color_to_nearest<kFullKey>(s[2], y, k1);
          d[3] = blend_color_to_nearest<kFullPair>(s[3], v, k0 + k1);
        }
      },
      Plane(dst, dst_skip, count, 2), Plane(image, image_skip, count, 2), Plane(key, key_skip, count, 2));
}

}  // namespace dorbmp::compose::plain
