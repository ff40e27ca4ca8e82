#include "image.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "font.h"

namespace dorbmp::gallery {
namespace {

constexpr Color kPaper{244, 243, 239};
constexpr Color kInk{30, 32, 38};
constexpr Color kFaint{110, 112, 118};
constexpr int kMargin = 8;
constexpr int kCaptionHeight = 15;
constexpr int kTitleHeight = 29;

uint8_t to_byte(double value) {
  return static_cast<uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

Color from_yuv(int y, int u, int v) {
  const double luma = 255.0 / 219 * (y - 16);
  const double cb = 255.0 / 224 * (u - 128), cr = 255.0 / 224 * (v - 128);
  return {to_byte(luma + 1.402 * cr), to_byte(luma - 0.344136 * cb - 0.714136 * cr),
          to_byte(luma + 1.772 * cb)};
}

Color grey(int value) {
  const auto byte = static_cast<uint8_t>(std::clamp(value, 0, 255));
  return {byte, byte, byte};
}

// The palette follows the 40 bytes of the display header.
Color from_palette(const Bitmap& bitmap, uint8_t index) {
  if (bitmap.display_header == nullptr) return grey(index);
  const auto* quad = static_cast<const uint8_t*>(bitmap.display_header) + 40 + 4 * index;
  return {quad[2], quad[1], quad[0]};
}

Color pixel_of(Bitmap& bitmap, int x, int y) {
  const auto* pixel = static_cast<const uint8_t*>(bmp_pointer(&bitmap, x, y));
  switch (bitmap.format) {
    case BMP_FORMAT_YUY2: {
      const uint8_t* pair = pixel - x % 2 * 2;
      return from_yuv(pixel[0], pair[1], pair[3]);
    }
    case BMP_FORMAT_RGB32:
      return {pixel[2], pixel[1], pixel[0]};
    case BMP_FORMAT_KEY16:
      return grey((pixel[0] | pixel[1] << 8) * 255 / 4096);
    case BMP_FORMAT_KEY8:
      return grey(*pixel * 255 / 128);
    default:
      return from_palette(bitmap, *pixel);
  }
}

const Glyph* glyph_of(char character) {
  const auto* found = std::find_if(std::begin(kFont), std::end(kFont),
                                   [character](const Glyph& glyph) { return glyph.character == character; });
  return found != std::end(kFont) ? found : nullptr;
}

int text_width(const std::string& text, int scale) {
  return static_cast<int>(text.size()) * (kGlyphWidth + 1) * scale;
}

}  // namespace

Image::Image(int width, int height, Color background)
    : width_(width),
      height_(height),
      pixels_(static_cast<size_t>(width) * static_cast<size_t>(height), background) {}

void Image::paste(const Image& image, int x, int y) {
  for (int line = 0; line < image.height_; ++line) {
    std::copy_n(image.row(line), image.width_, row(y + line) + x);
  }
}

void Image::text(const std::string& text, int x, int y, Color color, int scale) {
  for (const char character : text) {
    const Glyph* glyph = glyph_of(character);
    for (int i = 0; glyph != nullptr && i < kGlyphHeight * scale; ++i) {
      for (int j = 0; j < kGlyphWidth * scale; ++j) {
        const bool set = (glyph->rows[i / scale] >> (kGlyphWidth - 1 - j / scale) & 1) != 0;
        if (set && x + j < width_) row(y + i)[x + j] = color;
      }
    }
    x += (kGlyphWidth + 1) * scale;
  }
}

bool Image::save(const std::string& path) const {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(width_);
  png.height = static_cast<png_uint_32>(height_);
  png.format = PNG_FORMAT_RGB;
  return png_image_write_to_file(&png, path.c_str(), 0, pixels_.data(), 0, nullptr) != 0;
}

Image picture_of(Bitmap& bitmap, int scale) {
  Image image(bitmap.width * scale, bitmap.height * scale, kPaper);
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) image.row(y)[x] = pixel_of(bitmap, x / scale, y / scale);
  }
  return image;
}

Image sheet(const std::string& title, const std::vector<Panel>& panels, int columns) {
  int cell_width = 0, cell_height = 0;
  for (const Panel& panel : panels) {
    cell_width = std::max({cell_width, panel.image.width(), text_width(panel.caption, 1)});
    cell_height = std::max(cell_height, panel.image.height());
  }
  cell_width += kMargin;
  cell_height += kCaptionHeight + kMargin;
  const int count = static_cast<int>(panels.size());
  const int rows = (count + columns - 1) / columns;
  const int width = std::max(std::min(columns, count) * cell_width, text_width(title, 2) + kMargin) + kMargin;

  Image image(width, kTitleHeight + kMargin / 2 + rows * cell_height, kPaper);
  image.text(title, kMargin, kMargin, kInk, 2);
  for (int i = 0; i < count; ++i) {
    const int x = kMargin + i % columns * cell_width;
    const int y = kTitleHeight + kMargin / 2 + i / columns * cell_height;
    image.text(panels[static_cast<size_t>(i)].caption, x, y, kFaint, 1);
    image.paste(panels[static_cast<size_t>(i)].image, x, y + kCaptionHeight - 3);
  }
  return image;
}

}  // namespace dorbmp::gallery
