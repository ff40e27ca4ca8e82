#include "dorfx/stage.h"

#include <cmath>

namespace dorfx {
namespace {

// The shares of red and blue in luma.
struct LumaShares {
  AVColorSpace matrix;
  double red, blue;
};
// clang-format off
constexpr LumaShares kLumaShares[] = {
    {AVCOL_SPC_BT709,      0.2126, 0.0722},
    {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593},
    {AVCOL_SPC_BT2020_CL,  0.2627, 0.0593},
    {AVCOL_SPC_SMPTE240M,  0.212,  0.087},
    {AVCOL_SPC_FCC,        0.30,   0.11},
};
// clang-format on

LumaShares luma_shares(AVColorSpace matrix) {
  for (const LumaShares& shares : kLumaShares) {
    if (shares.matrix == matrix) return shares;
  }
  return {matrix, 0.299, 0.114};  // as swscale takes the rest, too
}

uint8_t quantised(double value) {
  return static_cast<uint8_t>(std::lround(std::fmin(std::fmax(value, 0), 255)));
}

}  // namespace

const char* to_string(FieldOrder order) {
  switch (order) {
    case FieldOrder::kTopFirst:
      return "tff";
    case FieldOrder::kBottomFirst:
      return "bff";
    default:
      return "progressive";
  }
}

std::span<const FieldPass> field_passes(FieldOrder order) {
  constexpr uint32_t kTop = BMP_FIELD_ONLY, kBottom = BMP_FIELD_ONLY | BMP_FIELD_ODD;
  static constexpr FieldPass kFrame[] = {{BMP_FRAME, 0}};
  static constexpr FieldPass kTopFirst[] = {{kTop, 0}, {kBottom, 0.5}};
  static constexpr FieldPass kBottomFirst[] = {{kBottom, 0}, {kTop, 0.5}};
  switch (order) {
    case FieldOrder::kTopFirst:
      return kTopFirst;
    case FieldOrder::kBottomFirst:
      return kBottomFirst;
    default:
      return kFrame;
  }
}

// Two of the names stand for the same coefficients.
bool ColourSpace::same_matrix(const ColourSpace& other) const {
  const auto plain = [](AVColorSpace name) { return name == AVCOL_SPC_BT470BG ? AVCOL_SPC_SMPTE170M : name; };
  return plain(matrix) == plain(other.matrix);
}

std::array<uint8_t, 3> to_yuv(Colour colour, const ColourSpace& colours) {
  const auto [name, kr, kb] = luma_shares(colours.matrix);
  const double r = colour.red / 255.0, g = colour.green / 255.0, b = colour.blue / 255.0;
  const double y = kr * r + (1 - kr - kb) * g + kb * b;
  const double u = (b - y) / (2 * (1 - kb)), v = (r - y) / (2 * (1 - kr));
  if (colours.range == AVCOL_RANGE_JPEG) {
    return {quantised(255 * y), quantised(128 + 255 * u), quantised(128 + 255 * v)};
  }
  return {quantised(16 + 219 * y), quantised(128 + 224 * u), quantised(128 + 224 * v)};
}

uint32_t Stage::packed(Colour colour) const {
  if (format == BMP_FORMAT_RGB32) {
    return uint32_t{colour.red} << 16 | uint32_t{colour.green} << 8 | colour.blue;
  }
  const auto [y, u, v] = to_yuv(colour, colours);
  return uint32_t{y} << 16 | uint32_t{u} << 8 | v;
}

uint32_t Stage::packed_for_border(Colour colour) const {
  const uint32_t color = packed(colour);
  return format == BMP_FORMAT_RGB32 && level == 0 ? bmp_translate_color(nullptr, color) : color;
}

}  // namespace dorfx
