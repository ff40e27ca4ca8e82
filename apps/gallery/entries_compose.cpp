#include "gallery.h"
#include "scenes.h"

namespace dorbmp::gallery {
namespace {

constexpr int32_t kWidth = 240;
constexpr int32_t kHeight = 136;

// A disc whose band is soft enough to see.
Frame disc_key(float radius, float softness) {
  Frame key = make_key(kWidth, kHeight);
  bmp_alpha_circle(key.get(), kWidth / 2.0f, kHeight / 2.0f, radius, softness, 1, BMP_ALPHA_COSINE);
  return key;
}

// The same key on the scale of 128.
Frame to_key8(const Bitmap& key) {
  Frame small = make_frame(key.width, key.height, BMP_FORMAT_KEY8);
  for (int32_t y = 0; y < key.height; ++y) {
    for (int32_t x = 0; x < key.width; ++x) {
      const auto* word = static_cast<const uint8_t*>(bmp_pointer(&key, x, y));
      *static_cast<uint8_t*>(bmp_pointer(small.get(), x, y)) =
          static_cast<uint8_t>((word[0] | word[1] << 8) / 32);
    }
  }
  return small;
}

Panel panel(const std::string& caption, const Frame& frame) {
  return {caption, picture_of(*frame, 1)};
}

Image keyed(const char* title, uint32_t format, bool key8) {
  const Frame background = day(kWidth, kHeight, format), foreground = night(kWidth, kHeight, format);
  const Frame disc = disc_key(62, 36);
  const Frame key = key8 ? to_key8(*disc) : disc_key(62, 36);
  const Frame result = make_frame(kWidth, kHeight, format);
  bmp_compose(result.get(), background.get(), foreground.get(), key.get(), BMP_FRAME);
  return sheet(title,
               {panel("background", background), panel("foreground", foreground),
                panel(key8 ? "key, 8 bits" : "key, 16 bits", key), panel("result", result)},
               2);
}

Image keyed_rgb32(const char* title) {
  return keyed(title, BMP_FORMAT_RGB32, false);
}
Image keyed_yuy2(const char* title) {
  return keyed(title, BMP_FORMAT_YUY2, false);
}
Image keyed_rgb32_key8(const char* title) {
  return keyed(title, BMP_FORMAT_RGB32, true);
}
Image keyed_yuy2_key8(const char* title) {
  return keyed(title, BMP_FORMAT_YUY2, true);
}

Image mixed(const char* title) {
  const Frame background = day(kWidth, kHeight, BMP_FORMAT_YUY2);
  const Frame foreground = night(kWidth, kHeight, BMP_FORMAT_YUY2);
  std::vector<Panel> panels;
  for (const int32_t level : {0, 1024, 3072, 4096}) {
    const Frame result = make_frame(kWidth, kHeight, BMP_FORMAT_YUY2);
    bmp_compose(result.get(), background.get(), foreground.get(), BMP_LEVEL(level), BMP_COMPOSE_MIX);
    panels.push_back(panel("level " + std::to_string(level), result));
  }
  return sheet(title, panels, 2);
}

// Small enough to see the lines.
Image fields(const char* title) {
  constexpr int32_t kSmallWidth = 120, kSmallHeight = 68;
  std::vector<Panel> panels;
  for (const uint32_t parity : {0u, 1u}) {
    const Frame background = day(kSmallWidth, kSmallHeight, BMP_FORMAT_YUY2);
    const Frame foreground = night(kSmallWidth, kSmallHeight, BMP_FORMAT_YUY2);
    const Frame key = make_key(kSmallWidth, kSmallHeight);
    bmp_alpha_circle(key.get(), kSmallWidth / 2.0f, kSmallHeight / 2.0f, 31, 10, 1, BMP_FRAME);
    bmp_compose(background.get(), background.get(), foreground.get(), key.get(), BMP_FIELD_ONLY | parity);
    panels.push_back({parity == 0 ? "FIELD_ONLY" : "FIELD_ONLY | FIELD_ODD", picture_of(*background, 3)});
  }
  return sheet(title, panels, 2);
}

constexpr uint32_t kOrangeRgb = 0xF07820;
constexpr uint32_t kOrangeYuv = 0x8D48BB;

uint32_t orange(uint32_t format) {
  return format == BMP_FORMAT_RGB32 ? kOrangeRgb : kOrangeYuv;
}

Image color(const char* title, uint32_t format) {
  const Frame background = day(kWidth, kHeight, format), key = disc_key(62, 36);
  const Frame result = make_frame(kWidth, kHeight, format);
  bmp_compose_color(result.get(), background.get(), background.get(), key.get(), nullptr, orange(format),
                    BMP_FRAME);
  return sheet(title, {panel("background", background), panel("key", key), panel("result", result)}, 3);
}

Image color_rgb32(const char* title) {
  return color(title, BMP_FORMAT_RGB32);
}
Image color_yuy2(const char* title) {
  return color(title, BMP_FORMAT_YUY2);
}

Image color_border(const char* title, uint32_t format) {
  const Frame background = day(kWidth, kHeight, format), foreground = night(kWidth, kHeight, format);
  const Frame key = disc_key(48, 3), border = disc_key(62, 12);
  const Frame result = make_frame(kWidth, kHeight, format);
  bmp_compose_color(result.get(), background.get(), foreground.get(), key.get(), border.get(), orange(format),
                    BMP_FRAME);
  return sheet(title, {panel("key", key), panel("border key", border), panel("result", result)}, 3);
}

Image border_rgb32(const char* title) {
  return color_border(title, BMP_FORMAT_RGB32);
}
Image border_yuy2(const char* title) {
  return color_border(title, BMP_FORMAT_YUY2);
}

constexpr Entry kEntries[] = {
    {"compose_rgb32", "bmp_compose: RGB32, 16-bit key", "The foreground through a soft disc.", keyed_rgb32},
    {"compose_yuy2", "bmp_compose: YUY2, 16-bit key", "Packed 4:2:2 through the same key.", keyed_yuy2},
    {"compose_rgb32_key8", "bmp_compose: RGB32, 8-bit key", "The same key on the scale of 128.",
     keyed_rgb32_key8},
    {"compose_yuy2_key8", "bmp_compose: YUY2, 8-bit key", "Packed 4:2:2 through it.", keyed_yuy2_key8},
    {"compose_mix", "bmp_compose: constant mix", "One level for the whole frame.", mixed},
    {"compose_fields", "bmp_compose: one field", "Lines of the other field are left alone.", fields},
    {"compose_color", "bmp_compose_color: no border, RGB32",
     "The background through the key over a flat colour.", color_rgb32},
    {"compose_color_yuy2", "bmp_compose_color: no border, YUY2", "The same in packed 4:2:2.", color_yuy2},
    {"compose_color_border", "bmp_compose_color: border, RGB32",
     "Where the border key exceeds the key, the colour shows.", border_rgb32},
    {"compose_color_border_yuy2", "bmp_compose_color: border, YUY2", "The same in packed 4:2:2.",
     border_yuy2},
};

}  // namespace

std::span<const Entry> compose_entries() {
  return kEntries;
}

}  // namespace dorbmp::gallery
