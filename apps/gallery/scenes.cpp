#include "scenes.h"

#include <algorithm>
#include <cmath>

#include "image.h"

namespace dorbmp::gallery {
namespace {

struct Rgb {
  double red;
  double green;
  double blue;
};

Rgb mix(const Rgb& a, const Rgb& b, double t) {
  t = std::clamp(t, 0.0, 1.0);
  return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

uint8_t to_byte(double value) {
  return static_cast<uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

uint8_t* pixel(Bitmap& bitmap, int32_t x, int32_t y) {
  return static_cast<uint8_t*>(bmp_pointer(&bitmap, x, y));
}

void put_yuy2(Bitmap& bitmap, int32_t x, int32_t y, const Rgb& color) {
  const double luma = 0.299 * color.red + 0.587 * color.green + 0.114 * color.blue;
  pixel(bitmap, x, y)[0] = to_byte(16 + luma * 219 / 255);
  // A pair has the chroma of its even pixel.
  if (x % 2 != 0) return;
  pixel(bitmap, x, y)[1] = to_byte(128 + (color.blue - luma) / 1.772 * 224 / 255);
  pixel(bitmap, x, y)[3] = to_byte(128 + (color.red - luma) / 1.402 * 224 / 255);
}

void put_rgb32(Bitmap& bitmap, int32_t x, int32_t y, const Rgb& color) {
  uint8_t* quad = pixel(bitmap, x, y);
  quad[0] = to_byte(color.blue);
  quad[1] = to_byte(color.green);
  quad[2] = to_byte(color.red);
}

// color_at(u, v): u across in picture heights, 0 in the middle; v down, 0 to 1.
template <class ColorAt>
Frame paint(int32_t width, int32_t height, uint32_t format, int32_t shift, ColorAt color_at) {
  Frame frame = make_frame(width, height, format);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const Rgb color = color_at((x + 0.5 - width / 2.0 - shift) / height, (y + 0.5) / height);
      format == BMP_FORMAT_RGB32 ? put_rgb32(*frame, x, y, color) : put_yuy2(*frame, x, y, color);
    }
  }
  return frame;
}

double coverage(double distance, double softness) {
  return std::clamp(0.5 - distance / softness, 0.0, 1.0);
}

}  // namespace

Frame make_frame(int32_t width, int32_t height, uint32_t format) {
  return Frame(bmp_create(width, height, format, BMP_CREATE_ZEROED));
}

Frame make_key(int32_t width, int32_t height) {
  return make_frame(width, height, BMP_FORMAT_KEY16);
}

Frame day(int32_t width, int32_t height, uint32_t format, int32_t shift) {
  const double edge = 2.0 / height;
  return paint(width, height, format, shift, [edge](double u, double v) {
    Rgb color = mix({70, 140, 220}, {226, 236, 240}, v / 0.62);
    color = mix(color, {255, 244, 190}, coverage(std::hypot(u - 0.35, v - 0.25) - 0.11, edge));
    color = mix(color, mix({40, 120, 150}, {20, 70, 110}, (v - 0.62) / 0.38), coverage(0.62 - v, edge));
    const double dune = 0.80 - 0.10 * std::sin(2.3 * u + 1.2) - 0.02 * std::sin(9 * u);
    color = mix(color, mix({236, 212, 150}, {196, 160, 96}, (v - dune) / 0.3), coverage(dune - v, edge));
    const double sail = std::max({std::fabs(u + 0.3) - 0.09 * (v - 0.38) / 0.2, v - 0.58, 0.38 - v});
    return mix(color, {250, 250, 250}, coverage(sail, edge));
  });
}

Frame night(int32_t width, int32_t height, uint32_t format, int32_t shift) {
  const double edge = 2.0 / height;
  return paint(width, height, format, shift, [edge](double u, double v) {
    Rgb color = mix({16, 14, 48}, {120, 50, 110}, v / 0.8);
    const double moon = std::max(std::hypot(u + 0.3, v - 0.27) - 0.13, 0.11 - std::hypot(u + 0.23, v - 0.24));
    color = mix(color, {240, 236, 214}, coverage(moon, edge));
    const double far_hill = 0.62 - 0.12 * std::sin(3 * u + 0.4),
                 near_hill = 0.80 - 0.10 * std::sin(4.2 * u - 1.3);
    color = mix(color, {64, 34, 84}, coverage(far_hill - v, edge));
    color = mix(color, {22, 18, 40}, coverage(near_hill - v, edge));
    const double window = std::max(std::fabs(u - 0.42) - 0.05, std::fabs(v - 0.80) - 0.04);
    return mix(color, {255, 190, 60}, coverage(window, edge));
  });
}

}  // namespace dorbmp::gallery
