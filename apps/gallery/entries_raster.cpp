#include "gallery.h"
#include "scenes.h"

namespace dorbmp::gallery {
namespace {

constexpr int32_t kWidth = 240;
constexpr int32_t kHeight = 136;

Panel panel(const std::string& caption, const Frame& frame, int scale = 1) {
  return {caption, picture_of(*frame, scale)};
}

// An 8-bit plane whose bits 0, 1 and 2 are red, green and blue, and whose bit 7 alone is a dark ground.
Frame bit_plane(int32_t width, int32_t height) {
  constexpr uint32_t kColors[] = {0x000000, 0xE04848, 0x30B060, 0xF0D060,
                                  0x4060E8, 0xC060D0, 0x50C8D8, 0xF0F0F0};
  Frame frame = make_frame(width, height, BMP_FORMAT_PAL8);
  for (uint32_t i = 0; i < 256; ++i) bmp_set_palette(frame.get(), i, i == 0x80 ? 0x303440 : kColors[i & 7]);
  return frame;
}

Image fills(const char* title) {
  const Frame rgb = make_frame(30, 20, BMP_FORMAT_RGB32), key = make_key(30, 20), bits = bit_plane(30, 20);
  bmp_draw_rect(rgb.get(), 0, 0, 30, 20, 0x203048, BMP_OP_SET);
  bmp_draw_rect(rgb.get(), 3, 3, 18, 14, 0xF07820, BMP_OP_SET);
  bmp_draw_rect(rgb.get(), 12, 8, 99, 17, 0x40A0E0, BMP_OP_SET);
  bmp_draw_rect(key.get(), 3, 3, 18, 14, 4096, BMP_OP_SET);
  bmp_draw_rect(key.get(), 12, 8, 99, 17, 2048, BMP_OP_SET);
  bmp_draw_rect(bits.get(), 0, 0, 30, 20, 0x80, BMP_OP_OR);
  bmp_draw_rect(bits.get(), 2, 2, 16, 12, 1, BMP_OP_OR);
  bmp_draw_rect(bits.get(), 8, 6, 24, 16, 2, BMP_OP_OR);
  bmp_draw_rect(bits.get(), 12, 4, 28, 10, 0xFC, BMP_OP_AND);
  return sheet(title,
               {panel("RGB32, SET", rgb, 9), panel("KEY16, SET 4096 and 2048", key, 9),
                panel("PAL8, OR 1, OR 2, AND 0xFC", bits, 9)},
               3);
}

// A fan of lines over a filled square, in one operation.
Panel line_panel(const std::string& caption, uint32_t value, uint32_t op) {
  const Frame frame = bit_plane(30, 30);
  bmp_draw_rect(frame.get(), 0, 0, 30, 30, 0x80, BMP_OP_OR);
  bmp_draw_rect(frame.get(), 8, 8, 22, 22, 3, BMP_OP_OR);
  constexpr int32_t kEnds[][2] = {{28, 14}, {28, 22}, {28, 28}, {22, 28}, {14, 28}, {6, 28},
                                  {1, 28},  {1, 20},  {1, 14},  {1, 6},   {1, 1},   {8, 1},
                                  {14, 1},  {22, 1},  {28, 1},  {28, 8}};
  for (const auto& [x, y] : kEnds) bmp_draw_line(frame.get(), 14, 14, x, y, value, op);
  return panel(caption, frame, 7);
}

Image lines(const char* title) {
  return sheet(title,
               {line_panel("SET 4", 4, BMP_OP_SET), line_panel("OR 4", 4, BMP_OP_OR),
                line_panel("AND 0xFD", 0xFD, BMP_OP_AND), line_panel("XOR 5", 5, BMP_OP_XOR)},
               4);
}

Image blt(const char* title) {
  const Frame source = night(kWidth, kHeight, BMP_FORMAT_YUY2),
              inside = day(kWidth, kHeight, BMP_FORMAT_YUY2);
  const Frame clipped = day(kWidth, kHeight, BMP_FORMAT_YUY2), field = day(kWidth, kHeight, BMP_FORMAT_YUY2);
  bmp_blt(inside.get(), 24, 30, 100, 80, source.get(), 60, 10, BMP_FRAME);
  bmp_blt(clipped.get(), 180, 90, 100, 80, source.get(), 60, 10, BMP_FRAME);
  bmp_blt(field.get(), 24, 30, 100, 80, source.get(), 60, 10, BMP_FIELD_ONLY);
  return sheet(title,
               {panel("source", source), panel("100 x 80 from 60, 10 to 24, 30", inside),
                panel("to 180, 90: clipped", clipped), panel("FIELD_ONLY", field)},
               2);
}

// Every field of something that moves shows it elsewhere.
Frame moving_frame() {
  Frame frame = day(80, 46, BMP_FORMAT_YUY2, -4);
  const Frame later = day(80, 46, BMP_FORMAT_YUY2, 4);
  bmp_copy(frame.get(), later.get(), BMP_FIELD_ONLY | BMP_FIELD_ODD);
  return frame;
}

Image copy_field(const char* title) {
  const Frame first = day(80, 46, BMP_FORMAT_YUY2, -4), later = day(80, 46, BMP_FORMAT_YUY2, 4);
  return sheet(title,
               {panel("destination", first, 4), panel("source, some pixels on", later, 4),
                panel("its odd field copied", moving_frame(), 4)},
               3);
}

Image interpolate(const char* title) {
  const Frame woven = moving_frame();
  const Frame even = make_frame(80, 46, BMP_FORMAT_YUY2), odd = make_frame(80, 46, BMP_FORMAT_YUY2);
  bmp_interporate(even.get(), woven.get(), BMP_FIELD_ONLY);
  bmp_interporate(odd.get(), woven.get(), BMP_FIELD_ONLY | BMP_FIELD_ODD);
  return sheet(title,
               {panel("two fields in one frame", woven, 4), panel("from the even field", even, 4),
                panel("from the odd field", odd, 4)},
               3);
}

Image clear(const char* title) {
  std::vector<Panel> panels;
  constexpr struct {
    const char* caption;
    uint32_t flags;
  } kClears[] = {{"FIELD_ONLY", BMP_FIELD_ONLY},
                 {"FIELD_ONLY | FIELD_ODD", BMP_FIELD_ONLY | BMP_FIELD_ODD},
                 {"FIELD_ODD: all but line 0", BMP_FIELD_ODD}};
  for (const auto& [caption, flags] : kClears) {
    const Frame frame = night(60, 34, BMP_FORMAT_RGB32);
    bmp_clear(frame.get(), flags);
    panels.push_back(panel(caption, frame, 5));
  }
  return sheet(title, panels, 3);
}

constexpr Entry kEntries[] = {
    {"draw_rect", "bmp_draw_rect", "Fills in the formats that have them, clipped to the bitmap.", fills},
    {"draw_line", "bmp_draw_line",
     "The four pixel operations on a palettised plane; the last point of a line is left out.", lines},
    {"blt", "bmp_blt", "A part of one frame in another, clipped to both, and on one field.", blt},
    {"copy_field", "bmp_copy: one field", "The odd field of a later picture, woven into an earlier one.",
     copy_field},
    {"interpolate", "bmp_interporate",
     "A frame from one field: the lines between are means of their neighbours.", interpolate},
    {"clear", "bmp_clear", "Field flags are taken literally.", clear},
};

}  // namespace

std::span<const Entry> raster_entries() {
  return kEntries;
}

}  // namespace dorbmp::gallery
