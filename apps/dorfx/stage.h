// What all clips are brought to before they meet: one size, rate, layout, field order and colour space.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "dorbmp.h"
#include "dorfx/av.h"
#include "dorfx/values.h"

namespace dorfx {

enum class FieldOrder { kProgressive, kTopFirst, kBottomFirst };
const char* to_string(FieldOrder order);

// The lines drawn together, and how much later than the frame they are seen, in frames.
struct FieldPass {
  uint32_t flags;
  double delay;
};
std::span<const FieldPass> field_passes(FieldOrder order);

struct ColourSpace {
  AVColorSpace matrix = AVCOL_SPC_SMPTE170M;
  AVColorRange range = AVCOL_RANGE_MPEG;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  bool same_matrix(const ColourSpace& other) const;
  bool same_pixels(const ColourSpace& other) const { return same_matrix(other) && range == other.range; }
};

struct Stage {
  int width = 0;
  int height = 0;
  PixelFormat format = BMP_FORMAT_YUY2;
  AVRational sample_aspect{1, 1};
  Rate rate;
  FieldOrder order = FieldOrder::kProgressive;
  ColourSpace colours;
  Colour background;
  int level = 0;  // of the kernels in use

  bool interlaced() const { return order != FieldOrder::kProgressive; }
  // The height of a line, in pixel widths.
  float line_aspect() const { return static_cast<float>(av_q2d(av_inv_q(sample_aspect))); }

  // A colour as the library's composition takes it.
  uint32_t packed(Colour colour) const;
  // The same for composition with a border key: its plain RGB32 kernel wants the bytes reversed.
  uint32_t packed_for_border(Colour colour) const;
};

// Y, U, V of a colour.
std::array<uint8_t, 3> to_yuv(Colour colour, const ColourSpace& colours);

}  // namespace dorfx
