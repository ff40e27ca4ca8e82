// Pictures from one size, pixel format and colour space to another, field by field where need be.
#pragma once

#include <array>

#include "dorfx/av.h"
#include "dorfx/stage.h"

namespace dorfx {

// Of an AVPixelFormat; palettes are RGB, too.
bool is_rgb(int format);

// The colour space a picture is in; where it does not say, by its height and kind.
ColourSpace colours_of(const AVFrame& picture);

class Scaler {
 public:
  struct Target {
    int width, height;
    AVPixelFormat format;
    ColourSpace colours;
  };

  // The result holds until the next call; it is the picture itself where nothing is to be done. by_field:
  // the two fields are scaled apart, each with its own chroma positions.
  const AVFrame& convert(const AVFrame& picture, const ColourSpace& colours, const Target& target,
                         bool by_field);

 private:
  struct Setup {
    int width, height, format, target_width, target_height, target_format, matrix, range, target_matrix,
        target_range, field;
    bool operator==(const Setup&) const = default;
  };
  struct Context {
    Setup setup{};
    AvOwner<SwsContext> sws;
  };

  void convert_lines(const AVFrame& picture, const Setup& setup, Context& context);

  std::array<Context, 3> contexts_;  // whole frame, top field, bottom field
  AvOwner<AVFrame> padded_, result_;
};

}  // namespace dorfx
