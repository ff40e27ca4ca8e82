// Frames on a memory device context, read back pixel by pixel.
#include <gtest/gtest.h>
#include <windows.h>

#include "dorbmp/display.h"
#include "support/frames.h"

namespace dorbmp::test {
namespace {

// A 32-bit picture that the system draws into, filled with one colour.
class Canvas {
 public:
  static constexpr uint32_t kUntouched = 0x123456;

  Canvas(int32_t width, int32_t height) : width_(width), device_(CreateCompatibleDC(nullptr)) {
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits;
    section_ = CreateDIBSection(device_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    previous_ = SelectObject(device_, section_);
    pixels_ = static_cast<uint32_t*>(bits);
    std::fill_n(pixels_, width * height, kUntouched);
  }
  ~Canvas() {
    SelectObject(device_, previous_);
    DeleteObject(section_);
    DeleteDC(device_);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  HDC device() const { return device_; }
  uint32_t at(int32_t x, int32_t y) const {
    GdiFlush();
    return pixels_[y * width_ + x] & 0xFFFFFF;
  }

 private:
  int32_t width_;
  HDC device_;
  HBITMAP section_;
  HGDIOBJ previous_;
  uint32_t* pixels_;
};

// What the canvas shows of a frame: pixel (x, y) of the frame as the system understands its 16, 32 or 8 bits.
uint32_t shown(Frame& frame, int32_t x, int32_t y) {
  switch (frame->bytes_per_pixel) {
    case 4:
      return frame.at<uint32_t>(x, y) & 0xFFFFFF;
    case 2: {  // five bits a component, the top ones repeated below
      const uint32_t word = frame.at<uint16_t>(x, y);
      const auto widen = [](uint32_t five) { return five << 3 | five >> 2; };
      return widen(word >> 10 & 31) << 16 | widen(word >> 5 & 31) << 8 | widen(word & 31);
    }
    default: {
      const auto* quads =
          reinterpret_cast<const uint32_t*>(static_cast<DisplayHeader*>(frame->display_header) + 1);
      return quads[frame.at<uint8_t>(x, y)];
    }
  }
}

struct Release {
  Frame& frame;
  ~Release() { std::free(frame->display_header); }
};

TEST(Display, EveryFormatIsShownLineForLine) {
  Random random(1);
  for (uint32_t format = 0; format <= 7; ++format) {
    if (format == BMP_FORMAT_KEY8) continue;  // no palette: nothing says which colours it has
    for (const int32_t width : {3, 16, 21}) {
      Frame frame(width, 7, format, random);
      const Release release{frame};
      if (format == BMP_FORMAT_PAL8) {
        for (uint32_t i = 0; i < 256; ++i) bmp_set_palette(&frame, i, random.next() & 0xFFFFFF);
      }
      const Canvas canvas(32, 12);
      EXPECT_EQ(bmp_display(canvas.device(), 4, 2, width, 7, &frame, 0, 0), 7) << "format " << format;
      for (int32_t y = 0; y < 12; ++y) {
        for (int32_t x = 0; x < 32; ++x) {
          const bool inside = x >= 4 && x < 4 + width && y >= 2 && y < 9;
          ASSERT_EQ(canvas.at(x, y), inside ? shown(frame, x - 4, y - 2) : Canvas::kUntouched)
              << "format " << format << ", width " << width << ", pixel " << x << ", " << y;
        }
      }
    }
  }
}

TEST(Display, PartsAndEdges) {
  Random random(2);
  Frame frame(16, 10, BMP_FORMAT_RGB32, random);
  const Release release{frame};
  const Canvas canvas(24, 16);
  // Columns from 5 on; a size larger than the frame shows what there is.
  EXPECT_EQ(bmp_display(canvas.device(), 0, 0, 4, 10, &frame, 5, 0), 10);
  EXPECT_EQ(canvas.at(0, 3), shown(frame, 5, 3));
  EXPECT_EQ(canvas.at(3, 9), shown(frame, 8, 9));
  EXPECT_EQ(canvas.at(4, 3), Canvas::kUntouched);
  // Partly off the device.
  EXPECT_EQ(bmp_display(canvas.device(), 20, 12, 16, 10, &frame, 0, 0), 10);
  EXPECT_EQ(canvas.at(23, 15), shown(frame, 3, 3));
}

// The system counts a picture's source lines from the bottom, and scan lines from the top.
TEST(Display, StartLineAndHeight) {
  constexpr int32_t kLines = 10, kTop = 2;
  Random random(4);
  Frame frame(4, kLines, BMP_FORMAT_RGB32, random);
  const Release release{frame};
  for (const int32_t start_line : {0, 1, 3, kLines - 1, kLines, -1}) {
    for (const int32_t height : {4, kLines, 14}) {
      const Canvas canvas(4, 20);
      const bool is_inside = start_line >= 0 && start_line < kLines;
      EXPECT_EQ(bmp_display(canvas.device(), 0, kTop, 4, height, &frame, 0, start_line) > 0, is_inside);
      for (int32_t y = 0; y < 20; ++y) {
        const int32_t line = kLines - height + start_line + y - kTop;
        const bool is_shown = is_inside && y >= kTop && y < kTop + height && line >= 0 && line < kLines;
        ASSERT_EQ(canvas.at(1, y), is_shown ? shown(frame, 1, line) : Canvas::kUntouched)
            << "start line " << start_line << ", height " << height << ", device line " << y;
      }
    }
  }
}

TEST(Display, FailureIsNoLines) {
  Random random(3);
  Frame frame(8, 4, BMP_FORMAT_RGB32, random);
  const Release release{frame};
  EXPECT_EQ(bmp_display(nullptr, 0, 0, 8, 4, &frame, 0, 0), 0);
  EXPECT_NE(frame->display_header, nullptr);
  EXPECT_EQ(bmp_display(reinterpret_cast<void*>(uintptr_t{0x7777}), 0, 0, 8, 4, &frame, 0, 0), 0);
}

}  // namespace
}  // namespace dorbmp::test
