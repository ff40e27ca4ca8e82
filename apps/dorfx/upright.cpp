#include "dorfx/upright.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace dorfx {
namespace {

// A display matrix, x' = a x + c y and y' = b x + d y, stored as a b u c d v x y w.
Orientation from_matrix(const uint8_t* bytes) {
  int32_t m[9];
  std::memcpy(m, bytes, sizeof m);
  const auto size = [&](int i) { return std::fabs(static_cast<double>(m[i])); };
  const bool swapped = size(0) + size(4) < size(1) + size(3);
  return {swapped, m[swapped ? 3 : 0] < 0, m[swapped ? 1 : 4] < 0};
}

// Whole pixels in every plane, which keep their shape when they are turned.
bool can_be_turned(const AVPixFmtDescriptor& format) {
  constexpr uint64_t kParts = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM;
  return (format.flags & kParts) == 0 && format.log2_chroma_w == format.log2_chroma_h;
}

int bytes_per_pixel(const AVPixFmtDescriptor& format, int plane) {
  int bytes = 1;
  for (int i = 0; i < format.nb_components; ++i) {
    if (format.comp[i].plane == plane) bytes = std::max(bytes, format.comp[i].step);
  }
  return bytes;
}

// width, height: of the shown plane.
void turn_plane(const AVFrame& from, AVFrame& to, int plane, int width, int height, int bytes,
                const Orientation& orientation) {
  const ptrdiff_t line = from.linesize[plane];
  const ptrdiff_t across = orientation.sides_swapped ? line : bytes;
  const ptrdiff_t down = orientation.sides_swapped ? bytes : line;
  const uint8_t* first = from.data[plane];
  if (orientation.mirrored_across) first += across * (width - 1);
  if (orientation.mirrored_down) first += down * (height - 1);
  const ptrdiff_t step = orientation.mirrored_across ? -across : across;
  for (int y = 0; y < height; ++y) {
    const uint8_t* pixel = first + (orientation.mirrored_down ? -y : y) * down;
    uint8_t* row = to.data[plane] + static_cast<ptrdiff_t>(y) * to.linesize[plane];
    for (int x = 0; x < width; ++x, pixel += step) {
      for (int i = 0; i < bytes; ++i) *row++ = pixel[i];
    }
  }
}

}  // namespace

Orientation orientation_of(const AVFrame& picture, const AVStream& stream) {
  if (const AVFrameSideData* own = av_frame_get_side_data(&picture, AV_FRAME_DATA_DISPLAYMATRIX)) {
    return from_matrix(own->data);
  }
  const uint8_t* matrix = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  return matrix != nullptr ? from_matrix(matrix) : Orientation{};
}

void Turner::turn(AVFrame& picture, const Orientation& orientation) {
  if (orientation.is_upright()) return;
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
  const AVFrame* from = &picture;
  if (!can_be_turned(*format)) {
    const bool has_alpha = (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    const ColourSpace colours = colours_of(picture);
    const AVPixelFormat whole = has_alpha ? AV_PIX_FMT_YUVA444P : AV_PIX_FMT_YUV444P;
    from = &scaler_.convert(picture, colours, {picture.width, picture.height, whole, colours}, false);
    format = av_pix_fmt_desc_get(whole);
  }
  const bool swapped = orientation.sides_swapped;
  const AvOwner<AVFrame> to =
      make_picture(swapped ? picture.height : picture.width, swapped ? picture.width : picture.height,
                   static_cast<AVPixelFormat>(from->format));
  for (int plane = 0; plane < av_pix_fmt_count_planes(static_cast<AVPixelFormat>(to->format)); ++plane) {
    const int shift = plane == 1 || plane == 2 ? format->log2_chroma_w : 0;
    turn_plane(*from, *to, plane, AV_CEIL_RSHIFT(to->width, shift), AV_CEIL_RSHIFT(to->height, shift),
               bytes_per_pixel(*format, plane), orientation);
  }
  av_frame_copy_props(to.get(), &picture);
  if (from != &picture) {
    // A palette's picture said nothing of these.
    to->colorspace = colours_of(picture).matrix;
    to->color_range = colours_of(picture).range;
  }
  av_frame_unref(&picture);
  av_frame_move_ref(&picture, to.get());
}

}  // namespace dorfx
