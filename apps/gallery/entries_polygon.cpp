#include <cmath>
#include <numbers>

#include "gallery.h"
#include "scenes.h"

namespace dorbmp::gallery {
namespace {

constexpr int32_t kWidth = 240;
constexpr int32_t kHeight = 136;

Panel panel(const std::string& caption, const Frame& frame, int scale = 1) {
  return {caption, picture_of(*frame, scale)};
}

struct Point {
  float x, y, q;
};

// The whole texture on four points, from its upper left corner clockwise.
struct Quad {
  PolygonVertex vertices[4];
  Quad(const Bitmap& texture, const Point (&at)[4]) {
    const auto right = static_cast<float>(texture.width), bottom = static_cast<float>(texture.height);
    const float u[] = {0, right, right, 0}, v[] = {0, 0, bottom, bottom};
    for (int i = 0; i < 4; ++i) vertices[i] = {u[i], v[i], at[i].q, at[i].x, at[i].y};
  }
};

// Turned about the centre of a bitmap.
void turn(Point (&at)[4], const Bitmap& frame, double degrees) {
  const double angle = degrees * std::numbers::pi / 180;
  const auto c = static_cast<float>(std::cos(angle)), s = static_cast<float>(std::sin(angle));
  const float x0 = static_cast<float>(frame.width) / 2, y0 = static_cast<float>(frame.height) / 2;
  for (Point& p : at) {
    const float x = p.x - x0, y = p.y - y0;
    p.x = x0 + c * x - s * y;
    p.y = y0 + s * x + c * y;
  }
}

void draw(const Frame& out, const Frame& texture, const Point (&at)[4], uint32_t flags,
          Bitmap* cover = nullptr, Bitmap* depth = nullptr) {
  const Quad quad(*texture, at);
  bmp_map_polygon(out.get(), cover, depth, texture.get(), nullptr, quad.vertices, 4, flags);
}

Image magnified(const char* title) {
  const Frame texture = day(30, 17, BMP_FORMAT_RGB32);
  std::vector<Panel> panels;
  for (const bool nearest : {true, false}) {
    const Frame out = make_frame(kWidth, kHeight, BMP_FORMAT_RGB32);
    Point at[] = {{20, 12, 1}, {220, 12, 1}, {220, 124, 1}, {20, 124, 1}};
    turn(at, *out, 8);
    draw(out, texture, at, nearest ? BMP_MAP_NEAREST : 0);
    panels.push_back(panel(nearest ? "MAP_NEAREST" : "bilinear", out));
  }
  return sheet(title, panels, 2);
}

// Stripes of one texel, which alias unless they are averaged.
Frame stripes(int32_t width, int32_t height) {
  Frame frame = make_frame(width, height, BMP_FORMAT_RGB32);
  for (int32_t x = 0; x < width; ++x) {
    bmp_draw_rect(frame.get(), x, 0, x + 1, height, x % 3 == 0 ? 0xF0F0F0 : 0x102840, BMP_OP_SET);
  }
  return frame;
}

Image minified(const char* title) {
  std::vector<Panel> panels;
  const Frame texture = stripes(800, 450);
  for (const bool nearest : {true, false}) {
    const Frame out = make_frame(kWidth, kHeight, BMP_FORMAT_RGB32);
    Point at[] = {{30, 18, 1}, {210, 18, 1}, {210, 118, 1}, {30, 118, 1}};
    turn(at, *out, 3);
    draw(out, texture, at, nearest ? BMP_MAP_NEAREST : 0);
    panels.push_back(panel(nearest ? "MAP_NEAREST" : "box filter", out));
  }
  return sheet(title, panels, 2);
}

Frame checks(uint32_t format) {
  Frame frame = make_frame(256, 256, BMP_FORMAT_RGB32);
  for (int32_t y = 0; y < 8; ++y) {
    for (int32_t x = 0; x < 8; ++x) {
      bmp_draw_rect(frame.get(), x * 32, y * 32, x * 32 + 32, y * 32 + 32,
                    (x + y) % 2 == 0 ? 0xE8E0D0 : 0x406080, BMP_OP_SET);
    }
  }
  if (format == BMP_FORMAT_RGB32) return frame;
  Frame packed = make_frame(256, 256, format);
  for (int32_t y = 0; y < 256; ++y) {
    for (int32_t x = 0; x < 256; ++x) {
      auto* pixel = static_cast<uint8_t*>(bmp_pointer(packed.get(), x, y));
      pixel[0] = *(static_cast<uint8_t*>(bmp_pointer(frame.get(), x, y)) + 1);
      pixel[1] = x % 2 == 0 ? 120 : 140;
    }
  }
  return packed;
}

Image perspective(const char* title) {
  std::vector<Panel> panels;
  for (const uint32_t format : {uint32_t{BMP_FORMAT_RGB32}, uint32_t{BMP_FORMAT_YUY2}}) {
    const Frame texture = checks(format);
    for (const float far_q : {1.0f, 0.35f}) {
      const Frame out = day(kWidth, kHeight, format);
      const Point at[] = {{78, 30, far_q}, {162, 30, far_q}, {230, 128, 1}, {10, 128, 1}};
      draw(out, texture, at, BMP_FRAME);
      panels.push_back(panel(std::string(format == BMP_FORMAT_YUY2 ? "YUY2" : "RGB32") +
                                 (far_q == 1 ? ", equal q" : ", far q 0.35"),
                             out));
    }
  }
  return sheet(title, panels, 2);
}

Image smoothed(const char* title) {
  const Frame texture = night(60, 34, BMP_FORMAT_RGB32);
  std::vector<Panel> panels;
  for (const uint32_t flags : {0u, uint32_t{BMP_MAP_SMOOTH}}) {
    const Frame out = day(60, 34, BMP_FORMAT_RGB32);
    Point at[] = {{12, 7, 1}, {48, 7, 1}, {48, 27, 1}, {12, 27, 1}};
    turn(at, *out, 17);
    draw(out, texture, at, flags);
    panels.push_back(panel(flags == 0 ? "whole pixels" : "MAP_SMOOTH", out, 6));
  }
  return sheet(title, panels, 2);
}

// Two polygons that share a slanting edge, on a colour that must not show between them.
Image seams(const char* title) {
  const Frame texture = checks(BMP_FORMAT_RGB32);
  std::vector<Panel> panels;
  for (const bool with_cover : {false, true}) {
    const Frame out = make_frame(60, 34, BMP_FORMAT_RGB32), cover = make_key(60, 34);
    bmp_draw_rect(out.get(), 0, 0, 60, 34, 0xFF2020, BMP_OP_SET);
    const Point left[] = {{6, 4, 1}, {24, 4, 1}, {35, 30, 1}, {6, 30, 1}};
    const Point right[] = {{24, 4, 1}, {54, 4, 1}, {54, 30, 1}, {35, 30, 1}};
    Bitmap* plane = with_cover ? cover.get() : nullptr;
    draw(out, texture, left, BMP_MAP_SMOOTH, plane);
    draw(out, texture, right, BMP_MAP_SMOOTH, plane);
    panels.push_back(panel(with_cover ? "with a plane" : "without", out, 6));
    if (with_cover) panels.push_back(panel("the plane", cover, 6));
  }
  return sheet(title, panels, 2);
}

Image depth(const char* title) {
  std::vector<Panel> panels;
  for (const bool tested : {false, true}) {
    const Frame out = make_frame(kWidth, kHeight, BMP_FORMAT_RGB32);
    const Frame buffer = make_frame(kWidth, kHeight, BMP_FORMAT_QUAD3);
    const Frame first = day(kWidth, kHeight, BMP_FORMAT_RGB32);
    const Frame second = night(kWidth, kHeight, BMP_FORMAT_RGB32);
    // Each is near on one side and far on the other.
    const Point a[] = {{20, 4, 1}, {220, 38, 0.5f}, {220, 98, 0.5f}, {20, 132, 1}};
    const Point b[] = {{20, 38, 0.5f}, {220, 4, 1}, {220, 132, 1}, {20, 98, 0.5f}};
    draw(out, first, a, BMP_FRAME, nullptr, tested ? buffer.get() : nullptr);
    draw(out, second, b, BMP_FRAME, nullptr, tested ? buffer.get() : nullptr);
    panels.push_back(panel(tested ? "depth buffer" : "one after another", out));
  }
  return sheet(title, panels, 2);
}

Image matte_color(const char* title) {
  const Frame matte = make_frame(kWidth, kHeight, BMP_FORMAT_KEY8), disc = make_key(kWidth, kHeight);
  bmp_alpha_circle(disc.get(), kWidth / 2.0f, kHeight / 2.0f, 64, 40, 1, BMP_ALPHA_COSINE);
  for (int32_t y = 0; y < kHeight; ++y) {
    for (int32_t x = 0; x < kWidth; ++x) {
      const auto* key = static_cast<const uint8_t*>(bmp_pointer(disc.get(), x, y));
      *static_cast<uint8_t*>(bmp_pointer(matte.get(), x, y)) =
          static_cast<uint8_t>((key[0] | key[1] << 8) * 255 / 4096);
    }
  }
  std::vector<Panel> panels;
  for (const uint32_t format : {uint32_t{BMP_FORMAT_RGB32}, uint32_t{BMP_FORMAT_YUY2}}) {
    const Frame out = day(kWidth, kHeight, format);
    const Point at[] = {{30, 8, 1}, {210, 36, 0.6f}, {210, 100, 0.6f}, {30, 128, 1}};
    const Quad quad(*matte, at);
    bmp_map_polygon(out.get(), nullptr, nullptr, BMP_VALUE(format == BMP_FORMAT_RGB32 ? 0xF07820 : 0x8D48BB),
                    matte.get(), quad.vertices, 4, BMP_MAP_AUX);
    panels.push_back(panel(format == BMP_FORMAT_RGB32 ? "RGB32" : "YUY2", out));
  }
  return sheet(title, panels, 2);
}

constexpr Entry kEntries[] = {
    {"polygon_magnify", "bmp_map_polygon: magnified", "A small texture, point sampled and bilinear.",
     magnified},
    {"polygon_minify", "bmp_map_polygon: minified",
     "Every third column is bright; at four to one the box filter leaves their mean, point sampling what it "
     "happens to meet.",
     minified},
    {"polygon_perspective", "bmp_map_polygon: perspective",
     "The same four points with equal weights, and with smaller ones at the far edge.", perspective},
    {"polygon_smooth", "bmp_map_polygon: edges", "With and without anti-aliasing, six times enlarged.",
     smoothed},
    {"polygon_seam", "bmp_map_polygon: a shared edge",
     "With a coverage plane the red behind two smooth polygons does not show where they meet.", seams},
    {"polygon_depth", "bmp_map_polygon: depth test", "Two pictures that pass through one another.", depth},
    {"polygon_matte", "bmp_map_polygon: matte colour", "An 8-bit texture is the opacity of a flat colour.",
     matte_color},
};

}  // namespace

std::span<const Entry> polygon_entries() {
  return kEntries;
}

}  // namespace dorbmp::gallery
