// Pictures of the gallery: panels with captions, from bitmaps of any format.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dorbmp.h"

namespace dorbmp::gallery {

struct Color {
  uint8_t red;
  uint8_t green;
  uint8_t blue;
};

class Image {
 public:
  Image(int width, int height, Color background);

  int width() const { return width_; }
  int height() const { return height_; }
  Color* row(int y) { return pixels_.data() + static_cast<size_t>(y) * static_cast<size_t>(width_); }
  const Color* row(int y) const {
    return pixels_.data() + static_cast<size_t>(y) * static_cast<size_t>(width_);
  }

  void paste(const Image& image, int x, int y);
  void text(const std::string& text, int x, int y, Color color, int scale);

  bool save(const std::string& path) const;  // PNG

 private:
  int width_;
  int height_;
  std::vector<Color> pixels_;
};

// Every pixel as a square of scale x scale. 4:2:2 is converted, keys are greys, palettised pixels go through
// the bitmap's palette.
Image picture_of(Bitmap& bitmap, int scale);

struct Panel {
  std::string caption;
  Image image;
};

// Panels in rows of at most columns, under a title.
Image sheet(const std::string& title, const std::vector<Panel>& panels, int columns);

}  // namespace dorbmp::gallery
