#include "gallery.h"
#include "scenes.h"

namespace dorbmp::gallery {
namespace {

constexpr int32_t kWidth = 240;
constexpr int32_t kHeight = 136;

Panel panel(const std::string& caption, const Frame& frame, int scale = 1) {
  return {caption, picture_of(*frame, scale)};
}

struct Box {
  float left, top, right, bottom;
};

Box whole(const Frame& frame) {
  return {0, 0, static_cast<float>(frame->width), static_cast<float>(frame->height)};
}

void map(const Frame& out, const Frame* cover, const Box& to, const Frame& source, const Box& part) {
  bmp_map_rect(out.get(), cover != nullptr ? cover->get() : nullptr, to.left, to.top, to.right, to.bottom,
               source.get(), nullptr, part.left, part.top, part.right, part.bottom, BMP_FRAME);
}

// Black: a packed 4:2:2 pixel of zeros would be green.
Frame black(int32_t width, int32_t height, uint32_t format) {
  Frame frame = make_frame(width, height, format);
  if (format != BMP_FORMAT_YUY2) return frame;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      auto* pixel = static_cast<uint8_t*>(bmp_pointer(frame.get(), x, y));
      pixel[0] = 16;
      pixel[1] = 128;
    }
  }
  return frame;
}

Image resized(const char* title, const std::vector<int32_t>& sizes) {
  std::vector<Panel> panels;
  for (const uint32_t format : {uint32_t{BMP_FORMAT_RGB32}, uint32_t{BMP_FORMAT_YUY2}}) {
    for (const int32_t size : sizes) {
      const Frame source = day(size * 16, size * 9, format);
      const Frame out = black(kWidth, kHeight, format), cover = make_key(kWidth, kHeight);
      map(out, &cover, {8.5f, 4.5f, 231.5f, 131.5f}, source, whole(source));
      panels.push_back(panel(std::string(format == BMP_FORMAT_YUY2 ? "YUY2" : "RGB32") + " from " +
                                 std::to_string(size * 16) + " x " + std::to_string(size * 9),
                             out));
    }
  }
  return sheet(title, panels, 2);
}

Image magnified(const char* title) {
  return resized(title, {2, 6});
}
Image minified(const char* title) {
  return resized(title, {24, 80});
}

// Two boxes that meet within a column and a line, on a colour that must not show between them.
Image seam(const char* title) {
  std::vector<Panel> panels;
  for (const uint32_t format : {uint32_t{BMP_FORMAT_RGB32}, uint32_t{BMP_FORMAT_YUY2}}) {
    const Frame out = black(40, 24, format), cover = make_key(40, 24);
    if (format == BMP_FORMAT_RGB32) bmp_draw_rect(out.get(), 0, 0, 40, 24, 0xFF2020, BMP_OP_SET);
    const Frame first = day(40, 24, format), second = night(40, 24, format);
    map(out, &cover, {4, 3, 19.3f, 12.6f}, first, whole(first));
    map(out, &cover, {19.3f, 3, 36, 12.6f}, second, whole(second));
    map(out, &cover, {4, 12.6f, 19.3f, 21}, second, whole(second));
    map(out, &cover, {19.3f, 12.6f, 36, 21}, first, whole(first));
    panels.push_back(panel(format == BMP_FORMAT_YUY2 ? "YUY2" : "RGB32", out, 8));
    panels.push_back(panel("coverage", cover, 8));
  }
  return sheet(title, panels, 2);
}

// A disc on its way to a small mask: edges become grey by area.
Image mask(const char* title) {
  const Frame source = make_frame(160, 96, BMP_FORMAT_PAL8);
  for (int32_t y = 0; y < 96; ++y) {
    for (int32_t x = 0; x < 160; ++x) {
      const int32_t dx = 2 * x - 159, dy = 2 * y - 95;
      *static_cast<uint8_t*>(bmp_pointer(source.get(), x, y)) = dx * dx + dy * dy < 88 * 88 ? 255 : 40;
    }
  }
  for (uint32_t i = 0; i < 256; ++i) bmp_set_palette(source.get(), i, i * 0x10101);
  const Frame out = make_frame(40, 24, BMP_FORMAT_PAL8);
  for (uint32_t i = 0; i < 256; ++i) bmp_set_palette(out.get(), i, i * 0x10101);
  map(out, nullptr, {4.5f, 2.5f, 35.5f, 21.5f}, source, whole(source));
  return sheet(title, {panel("source", source, 2), panel("result, 8 times", out, 8)}, 2);
}

constexpr Entry kEntries[] = {
    {"rect_magnify", "bmp_map_rect: magnified",
     "Exact area weighting keeps texels square; their edges are anti-aliased.", magnified},
    {"rect_minify", "bmp_map_rect: minified", "Every pixel is the mean of what lies under it.", minified},
    {"rect_seam", "bmp_map_rect: four boxes that meet within a pixel",
     "What stood there before does not show, and the coverage of the seams is full.", seam},
    {"rect_mask", "bmp_map_rect: 8-bit mask", "Borders at half pixels come out at half intensity.", mask},
};

}  // namespace

std::span<const Entry> rect_entries() {
  return kEntries;
}

}  // namespace dorbmp::gallery
