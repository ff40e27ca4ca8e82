#include "dorfx/pixels.h"

#include <array>
#include <cstring>

namespace dorfx {
namespace {

struct PlanarRow {
  uint8_t *y, *u, *v;
};

PlanarRow planar_row(const AVFrame& frame, int x, int y) {
  const auto at = [&](int plane, int column) {
    return frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.linesize[plane] + column;
  };
  return {at(0, x), at(1, x / 2), at(2, x / 2)};
}

void pack(PlanarRow from, int width, uint8_t* to) {
  const int pairs = width / 2;
  for (int i = 0; i < pairs; ++i) {
    to[4 * i] = from.y[2 * i];
    to[4 * i + 1] = from.u[i];
    to[4 * i + 2] = from.y[2 * i + 1];
    to[4 * i + 3] = from.v[i];
  }
  if (width % 2 != 0) {
    const uint8_t last[] = {from.y[width - 1], from.u[pairs], from.y[width - 1], from.v[pairs]};
    std::memcpy(to + 4 * pairs, last, sizeof last);
  }
}

void unpack(const uint8_t* from, int width, PlanarRow to) {
  for (int i = 0; i < width / 2; ++i) {
    to.y[2 * i] = from[4 * i];
    to.u[i] = from[4 * i + 1];
    to.y[2 * i + 1] = from[4 * i + 2];
    to.v[i] = from[4 * i + 3];
  }
  if (width % 2 != 0) {
    const uint8_t* last = from + width / 2 * 4;
    to.y[width - 1] = last[0];
    to.u[width / 2] = last[1];
    to.v[width / 2] = last[3];
  }
}

void swap_bytes(const uint8_t* from, int pixels, uint8_t* to) {
  for (int i = 0; i < pixels; ++i) {
    to[2 * i] = from[2 * i + 1];
    to[2 * i + 1] = from[2 * i];
  }
}

}  // namespace

bool is_same_samples(AVPixelFormat format, PixelFormat working) {
  if (working == BMP_FORMAT_RGB32) return format == AV_PIX_FMT_BGR0 || format == AV_PIX_FMT_BGRA;
  return format == AV_PIX_FMT_YUV422P || format == AV_PIX_FMT_YUVA422P || format == AV_PIX_FMT_YUYV422 ||
         format == AV_PIX_FMT_UYVY422;
}

void copy_row_in(const AVFrame& from, int from_x, int from_y, int width, Frame& to, int to_x, int to_y) {
  auto* row = static_cast<uint8_t*>(bmp_pointer(to.bitmap(), to_x, to_y));
  const auto packed = [&](int bytes_per_pixel) {
    return from.data[0] + static_cast<ptrdiff_t>(from_y) * from.linesize[0] + from_x * bytes_per_pixel;
  };
  const int whole_pairs = (width + 1) & ~1;
  switch (from.format) {
    case AV_PIX_FMT_YUYV422:
      std::memcpy(row, packed(2), static_cast<size_t>(whole_pairs) * 2);
      break;
    case AV_PIX_FMT_UYVY422:
      swap_bytes(packed(2), whole_pairs, row);
      break;
    case AV_PIX_FMT_BGR0:
    case AV_PIX_FMT_BGRA:
      std::memcpy(row, packed(4), static_cast<size_t>(width) * 4);
      break;
    default:
      pack(planar_row(from, from_x, from_y), width, row);
  }
}

void copy_picture_out(const Frame& from, AVFrame& to) {
  const int whole_pairs = (to.width + 1) & ~1;
  for (int y = 0; y < to.height; ++y) {
    uint8_t* row = to.data[0] + static_cast<ptrdiff_t>(y) * to.linesize[0];
    switch (to.format) {
      case AV_PIX_FMT_YUYV422:
        std::memcpy(row, from.row(y), static_cast<size_t>(whole_pairs) * 2);
        break;
      case AV_PIX_FMT_UYVY422:
        swap_bytes(from.row(y), whole_pairs, row);
        break;
      case AV_PIX_FMT_BGR0:
      case AV_PIX_FMT_BGRA:
        std::memcpy(row, from.row(y), static_cast<size_t>(to.width) * 4);
        break;
      default:
        unpack(from.row(y), to.width, planar_row(to, 0, y));
    }
  }
}

void pair_last_key(Frame& key, uint32_t fields) {
  if (key.width() % 2 == 0) return;
  const int step = (fields & BMP_FIELD_ONLY) != 0 ? 2 : 1;
  for (int y = static_cast<int>(fields & BMP_FIELD_ODD); y < key.height(); y += step) {
    uint8_t* last = key.row(y) + 2 * (key.width() - 1);
    std::memcpy(last + 2, last, 2);
  }
}

void fill(Frame& frame, uint32_t color) {
  const auto byte = [&](int low_bit) { return static_cast<uint8_t>(color >> low_bit); };
  const std::array<uint8_t, 4> quad = frame.format() == BMP_FORMAT_RGB32
                                          ? std::array<uint8_t, 4>{byte(0), byte(8), byte(16), 255}
                                          : std::array<uint8_t, 4>{byte(16), byte(8), byte(16), byte(0)};
  for (size_t i = 0; i < frame.row_bytes(); ++i) frame.row(0)[i] = quad[i % 4];
  for (int y = 1; y < frame.height(); ++y) std::memcpy(frame.row(y), frame.row(0), frame.row_bytes());
}

}  // namespace dorfx
