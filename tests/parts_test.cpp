// Records of a part of a frame: the operations that take one anywhere draw what they draw into a bitmap of
// the part's size, and touch nothing beside it, in the frame's last corner too.
#include <gtest/gtest.h>

#include <deque>
#include <functional>

#include "support/fence.h"
#include "support/frames.h"
#include "support/levels.h"

namespace dorbmp::test {
namespace {

// The lower right corner of a frame whose lines have no padding, at the end of readable memory; and a bitmap
// of its own that holds the same.
struct Corner {
  static constexpr int32_t kFrameWidth = 48, kFrameHeight = 13;

  Corner(int32_t width, int32_t height, uint32_t format, Random& random)
      : frame(kFrameWidth, kFrameHeight, format, random),
        alone(width, height, format, random),
        part(frame.bitmap()) {
    memory = fence.copy(frame.bytes(), true);
    const ptrdiff_t x = kFrameWidth - width, y = kFrameHeight - height;
    part.width = width;
    part.height = height;
    part.pixels = memory + y * part.pitch + x * part.bytes_per_pixel;
    for (int32_t line = 0; line < height; ++line) std::memcpy(alone.row(line), row(line), line_bytes());
  }

  uint8_t* row(int32_t line) const { return part.pixels + ptrdiff_t{line} * part.pitch; }
  size_t line_bytes() const { return static_cast<size_t>(part.width * part.bytes_per_pixel); }

  // Empty, or what is wrong.
  std::string compare() {
    for (int32_t line = 0; line < part.height; ++line) {
      if (std::memcmp(alone.row(line), row(line), line_bytes()) != 0) {
        return "the part differs in line " + std::to_string(line);
      }
      std::memcpy(
          row(line),
          frame.row(kFrameHeight - part.height + line) + (kFrameWidth - part.width) * part.bytes_per_pixel,
          line_bytes());
    }
    return std::memcmp(memory, frame.row(0), frame.bytes().size()) == 0 ? ""
                                                                        : "bytes beside the part changed";
  }

  Frame frame, alone;
  Fence fence;
  uint8_t* memory;
  Bitmap part;
};

struct Operation {
  const char* name;
  int32_t width_step;
  std::vector<uint32_t> formats;
  std::function<void(const std::vector<Bitmap*>&)> call;
};

const std::vector<Operation>& operations() {
  constexpr uint32_t kYuy2 = BMP_FORMAT_YUY2, kRgb = BMP_FORMAT_RGB32, kKey16 = BMP_FORMAT_KEY16,
                     kKey8 = BMP_FORMAT_KEY8, kPal = BMP_FORMAT_PAL8, kDepths = BMP_FORMAT_QUAD3;
  using Bitmaps = std::vector<Bitmap*>;
  static constexpr PolygonVertex kQuad[] = {
      {-3, -2, 1, -5, -3}, {60, 4, 1, 90, 2}, {50, 30, 1, 70, 40}, {2, 20, 1, -9, 30}};
  static constexpr PolygonVertex kTilted[] = {
      {-3, -2, 1, -5, -3}, {60, 4, 1.5f, 90, 2}, {50, 30, 1, 70, 40}, {2, 20, 0.5f, -9, 30}};
  const auto compose = [](const Bitmaps& b) { bmp_compose(b[0], b[1], b[2], b[3], 0); };
  const auto border = [](const Bitmaps& b) { bmp_compose_color(b[0], b[1], b[2], b[3], b[4], 0x123456, 0); };
  const auto over_color = [](const Bitmaps& b) {
    bmp_compose_color(b[0], b[1], nullptr, b[2], nullptr, 0x123456, 0);
  };
  const auto polygon = [](const PolygonVertex* vertices, uint32_t flags) {
    return [=](const Bitmaps& b) { bmp_map_polygon(b[0], b[2], nullptr, b[1], nullptr, vertices, 4, flags); };
  };
  const auto rect = [](const Bitmaps& b) {
    bmp_map_rect(b[0], b.size() > 2 ? b[2] : nullptr, -1.5f, 0.25f, 70, 20, b[1], nullptr, -1, 0.75f, 40, 17,
                 0);
  };
  static const std::vector<Operation> all = {
      {"draw_rect", 1, {kRgb}, [](const Bitmaps& b) { bmp_draw_rect(b[0], -4, 2, 99, 99, 0x11223344, 0); }},
      {"draw_rect", 1, {kKey16}, [](const Bitmaps& b) { bmp_draw_rect(b[0], 1, -2, 99, 99, 0x1122, 0); }},
      {"draw_line", 1, {kPal}, [](const Bitmaps& b) { bmp_draw_line(b[0], 0, 0, 99, 31, 0x55, BMP_OP_XOR); }},
      {"blt", 1, {kYuy2, kYuy2}, [](const Bitmaps& b) { bmp_blt(b[0], 1, 1, 99, 99, b[1], 0, 0, 0); }},
      {"compose", 8, {kYuy2, kYuy2, kYuy2, kKey16}, compose},
      {"compose", 8, {kRgb, kRgb, kRgb, kKey16}, compose},
      {"compose", 8, {kYuy2, kYuy2, kYuy2, kKey8}, compose},
      {"compose", 8, {kRgb, kRgb, kRgb, kKey8}, compose},
      {"compose_color, border", 1, {kYuy2, kYuy2, kYuy2, kKey16, kKey16}, border},
      {"compose_color, border", 1, {kRgb, kRgb, kRgb, kKey16, kKey16}, border},
      {"compose_color", 1, {kYuy2, kYuy2, kKey16}, over_color},
      {"compose_color", 1, {kRgb, kRgb, kKey16}, over_color},
      {"alpha_rect",
       1,
       {kKey16},
       [](const Bitmaps& b) {
         bmp_alpha_rect(b[0], 2.5f, 1.5f, 90, 90, 4, 4, BMP_ALPHA_ROUNDED | BMP_ALPHA_HARD);
       }},
      {"alpha_circle", 1, {kKey16}, [](const Bitmaps& b) { bmp_alpha_circle(b[0], 9, 4, 12, 5, 1, 0); }},
      {"map_polygon", 1, {kYuy2, kYuy2, kKey16}, polygon(kQuad, 0)},
      {"map_polygon", 1, {kRgb, kRgb, kKey8}, polygon(kQuad, 0)},
      {"map_polygon", 1, {kKey16, kKey16, kKey16}, polygon(kQuad, 0)},
      {"map_polygon, nearest", 1, {kYuy2, kYuy2, kKey16}, polygon(kTilted, BMP_MAP_NEAREST)},
      {"map_polygon, perspective", 1, {kYuy2, kYuy2, kKey16}, polygon(kTilted, 0)},
      {"map_polygon, perspective", 1, {kRgb, kRgb, kKey16}, polygon(kTilted, 0)},
      {"map_polygon, perspective", 1, {kKey16, kKey16, kKey16}, polygon(kTilted, 0)},
      {"map_polygon, smooth", 1, {kYuy2, kYuy2, kKey8}, polygon(kTilted, BMP_MAP_SMOOTH)},
      {"map_polygon, smooth", 1, {kRgb, kRgb, kKey16}, polygon(kQuad, BMP_MAP_SMOOTH)},
      {"map_polygon, depth",
       1,
       {kYuy2, kYuy2, kDepths},
       [](const Bitmaps& b) { bmp_map_polygon(b[0], nullptr, b[2], b[1], nullptr, kTilted, 4, 0); }},
      {"map_polygon, depth",
       1,
       {kRgb, kRgb, kDepths},
       [](const Bitmaps& b) { bmp_map_polygon(b[0], nullptr, b[2], b[1], nullptr, kTilted, 4, 0); }},
      {"map_polygon, colour",
       1,
       {kYuy2, kKey8},
       [](const Bitmaps& b) {
         bmp_map_polygon(b[0], nullptr, nullptr, BMP_VALUE(0x123456), b[1], kQuad, 4, BMP_MAP_AUX);
       }},
      {"map_polygon, colour",
       1,
       {kRgb, kKey8},
       [](const Bitmaps& b) {
         bmp_map_polygon(b[0], nullptr, nullptr, BMP_VALUE(0x123456), b[1], kQuad, 4, BMP_MAP_AUX);
       }},
      {"map_polygon, one value",
       1,
       {kYuy2, kKey16},
       [](const Bitmaps& b) {
         bmp_map_polygon(b[0], b[1], nullptr, BMP_VALUE(0x123456), BMP_VALUE(3000), kQuad, 4,
                         BMP_MAP_ONE_VALUE);
       }},
      {"map_rect", 1, {kYuy2, kYuy2, kKey16}, rect},
      {"map_rect", 1, {kRgb, kRgb, kKey16}, rect},
      {"map_rect", 1, {kPal, kPal}, rect},
  };
  return all;
}

TEST(Parts, AnywhereInAFrame) {
  for (const Setting setting : kSettings) {
    const AtLevel at(setting);
    for (const Operation& operation : operations()) {
      for (const int32_t width : {8, 22, 24}) {
        if (width % operation.width_step != 0) continue;
        Random random(static_cast<uint64_t>(width));
        std::deque<Corner> corners;
        std::vector<Bitmap*> parts, alone;
        for (const uint32_t format : operation.formats) {
          Corner& corner = corners.emplace_back(width, 9, format, random);
          parts.push_back(&corner.part);
          alone.push_back(&corner.alone);
        }
        operation.call(alone);
        operation.call(parts);
        for (size_t i = 0; i < corners.size(); ++i) {
          ASSERT_EQ(corners[i].compare(), "")
              << operation.name << ", bitmap " << i << " of format " << operation.formats[i] << ", width "
              << width << ", level " << setting.level;
        }
      }
    }
  }
}

// Operations on whole lines: of parts that begin in column 0 they take the frame's lines and no more.
TEST(Parts, WholeLinesFromColumnZero) {
  using Call = void (*)(Bitmap*, Bitmap*);
  constexpr Call kCalls[] = {
      [](Bitmap* to, Bitmap*) { bmp_clear(to, 0); },
      [](Bitmap* to, Bitmap* from) { bmp_copy(to, from, 0); },
      [](Bitmap* to, Bitmap* from) { bmp_copy(to, from, BMP_FIELD_ONLY); },
      [](Bitmap* to, Bitmap* from) { bmp_interporate(to, from, 0); },
      [](Bitmap* to, Bitmap* from) { bmp_compose(to, to, from, BMP_LEVEL(1000), BMP_COMPOSE_MIX); },
  };
  for (const Setting setting : kSettings) {
    const AtLevel at(setting);
    for (const Call call : kCalls) {
      Random random(1);
      Corner to(Corner::kFrameWidth, 9, BMP_FORMAT_YUY2, random);
      Corner from(Corner::kFrameWidth, 9, BMP_FORMAT_YUY2, random);
      call(&to.alone, &from.alone);
      to.part.width = from.part.width = 20;
      call(&to.part, &from.part);
      to.part.width = from.part.width = Corner::kFrameWidth;
      EXPECT_EQ(to.compare() + from.compare(), "")
          << "call " << &call - kCalls << ", level " << setting.level;
    }
  }
}

}  // namespace
}  // namespace dorbmp::test
