#include "models/compose_model.h"

#include <algorithm>
#include <cmath>

namespace dorbmp::test {
namespace {

bool aligned(const Frame& frame) {
  Bitmap& bitmap = const_cast<Frame&>(frame).bitmap();
  return reinterpret_cast<uintptr_t>(bitmap.pixels) % 16 == 0 && bitmap.pitch % 16 == 0;
}

int rounded_up(int value, int step) {
  return (value + step - 1) / step * step;
}

// All arithmetic in 64 bits; C's remainder-free floor where the formulas floor.
int64_t floor_quotient(int64_t value, int64_t by) {
  return static_cast<int64_t>(std::floor(static_cast<double>(value) / static_cast<double>(by)));
}

int saturated(int64_t value) {
  return static_cast<int>(std::clamp<int64_t>(value, 0, 255));
}

struct Block {
  std::vector<uint8_t> bytes;
  size_t offset;
  int pitch;

  explicit Block(Frame& frame) : bytes(frame.bytes()), offset(frame.offset()), pitch(frame->pitch) {}
  uint8_t& at(int y, int byte) {
    return bytes[offset + static_cast<size_t>(y) * static_cast<size_t>(pitch) + static_cast<size_t>(byte)];
  }
  int word(int y, int index) { return at(y, 2 * index) | at(y, 2 * index + 1) << 8; }
};

template <class Line>
void each_line(Frame& frame, uint32_t flags, Line line) {
  for (int y = static_cast<int>(flags & 1); y < frame->height; y += (flags & 2) != 0 ? 2 : 1) line(y);
}

// Keys may lie off their scale: level 0 keeps the low byte of the quotient, the others take 16-bit keys for
// signed and form 8-bit weights modulo 256 and their sum modulo 65536.
int key16_byte(int level, bool rgb, int f, int b, int k) {
  if (level == 0) return (f * k + b * (4096 - k)) / 4096 & 0xFF;
  const auto weight = static_cast<int16_t>(k), complement = static_cast<int16_t>(4096 - weight);
  const int64_t sum =
      floor_quotient(int64_t{f} * 16 * weight, 65536) + floor_quotient(int64_t{b} * 16 * complement, 65536);
  return rgb ? saturated(sum) : static_cast<int>(sum & 0xFF);
}

int key8_byte(int level, bool rgb, int f, int b, int k) {
  if (level == 0) return (f * k + b * (128 - k)) / 128 & 0xFF;
  const int sum = ((f * k + b * ((128 - k) & 0xFF)) & 0xFFFF) >> 7;
  return rgb ? saturated(sum) : sum & 0xFF;
}

}  // namespace

std::vector<uint8_t> model_compose(int level, Frame& dst, Frame& background, Frame& foreground, Frame& key,
                                   uint32_t flags) {
  Block out(dst), back(background), fore(foreground), keys(key);
  const bool rgb = dst->format == BMP_FORMAT_RGB32;
  const bool key8 = key->format == BMP_FORMAT_KEY8;
  if (!rgb && dst->format != BMP_FORMAT_YUY2) return out.bytes;

  int count = dst->width;
  if (rgb) {
    count = key8 ? rounded_up(count, 2) : count;
  } else {
    const bool all = aligned(dst) && aligned(background) && aligned(foreground) && (key8 || aligned(key));
    count = rounded_up(count, all ? 8 : 4);
  }
  each_line(dst, flags, [&](int y) {
    for (int x = 0; x < count; ++x) {
      const auto key_of = [&](int pixel) { return key8 ? keys.at(y, pixel) : keys.word(y, pixel); };
      const auto put = [&](int byte, int k) {
        const int f = fore.at(y, byte), b = back.at(y, byte);
        out.at(y, byte) =
            static_cast<uint8_t>(key8 ? key8_byte(level, rgb, f, b, k) : key16_byte(level, rgb, f, b, k));
      };
      if (rgb) {
        for (int c = 0; c < (level == 0 ? 3 : 4); ++c) put(4 * x + c, key_of(x));
      } else {
        put(2 * x, key_of(x));
        put(2 * x + 1, key_of(x & ~1));
      }
    }
  });
  return out.bytes;
}

std::vector<uint8_t> model_mix(int level, Frame& dst, Frame& background, Frame& foreground, int32_t mix_level,
                               uint32_t flags) {
  Block out(dst), back(background), fore(foreground);
  const bool all = aligned(dst) && aligned(background) && aligned(foreground);
  const int count = all ? dst->pitch : rounded_up(dst->pitch, 4);
  each_line(dst, flags, [&](int y) {
    for (int i = 0; i < count; ++i) {
      const int64_t f = fore.at(y, i), b = back.at(y, i);
      const int64_t plain = (b * (4096 - mix_level) + f * mix_level) >> 12;
      const int64_t quarters =
          floor_quotient(b * 64 * (4096 - mix_level), 65536) + floor_quotient(f * 64 * mix_level, 65536);
      out.at(y, i) = static_cast<uint8_t>(level == 0 ? plain : saturated((quarters + 2) >> 2));
    }
  });
  return out.bytes;
}

std::vector<uint8_t> model_compose_color(int level, Frame& dst, Frame& background, Frame& foreground,
                                         Frame& key, Frame* border_key, uint32_t color, uint32_t flags) {
  Block out(dst), back(background), fore(foreground), inner(key),
      outer(border_key != nullptr ? *border_key : key);
  const bool bordered = border_key != nullptr;
  const int width = dst->width;
  const auto component = [&](int index) { return static_cast<int64_t>(color >> 8 * index & 0xFF); };

  // Weights of foreground, colour and background on a scale; without a border the image is the foreground.
  struct Layers {
    int64_t f, c, b, ka, kb, full;
  };
  const auto plain_border = [](const Layers& l) {
    return (l.b * (l.full - l.kb) + l.f * l.ka + l.c * (l.kb - l.ka) + l.full / 2) >>
           (l.full == 4096 ? 12 : 13);
  };
  const auto vector_terms = [](const Layers& l, int64_t gain) {
    return floor_quotient(l.b * gain * (l.full - l.kb), 65536) + floor_quotient(l.f * gain * l.ka, 65536) +
           floor_quotient(l.c * gain * (l.kb - l.ka), 65536);
  };

  each_line(dst, flags, [&](int y) {
    const auto layers = [&](int byte, int64_t c, int64_t ka, int64_t kb, int64_t full) {
      // Without a border the outer key is 1.0 everywhere and the image stands where the foreground would.
      return bordered ? Layers{fore.at(y, byte), c, back.at(y, byte), ka, kb, full}
                      : Layers{back.at(y, byte), c, 0, ka, full, full};
    };
    if (dst->format == BMP_FORMAT_RGB32) {
      const bool vector = bordered && level > 0;
      for (int x = 0; x < width; ++x) {
        for (int c = 0; c < (vector ? 4 : 3); ++c) {
          const bool reversed = bordered && level == 0;
          const Layers l =
              layers(4 * x + c, component(reversed ? 2 - c : c), inner.word(y, x), outer.word(y, x), 4096);
          int64_t value = (l.f * l.ka + l.c * (4096 - l.ka)) / 4096;
          if (bordered) value = vector ? saturated(vector_terms(l, 16)) : plain_border(l);
          out.at(y, 4 * x + c) = static_cast<uint8_t>(value);
        }
      }
    } else if (dst->format == BMP_FORMAT_YUY2) {
      const int written = level == 0 ? width / 2 * 2 : width / 4 * 4;
      for (int x = 0; x < written; ++x) {
        const int even = x & ~1;
        const auto put = [&](int byte, const Layers& l, int64_t gain) {
          const int64_t value = level > 0  ? (vector_terms(l, gain) + 1) >> 1
                                : bordered ? plain_border(l)
                                           : (l.f * l.ka + l.c * (l.full - l.ka) + l.full / 2) / l.full;
          out.at(y, byte) = static_cast<uint8_t>(value);
        };
        put(2 * x, layers(2 * x, component(2), inner.word(y, x), outer.word(y, x), 4096), 32);
        put(2 * x + 1,
            layers(2 * x + 1, component(x == even ? 1 : 0), inner.word(y, even) + inner.word(y, even + 1),
                   outer.word(y, even) + outer.word(y, even + 1), 8192),
            16);
      }
    }
  });
  return out.bytes;
}

}  // namespace dorbmp::test
