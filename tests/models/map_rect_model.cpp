#include "models/map_rect_model.h"

#include <algorithm>

namespace dorbmp::test {
namespace {

// One direction of the mapping, in units of the destination.
struct Direction {
  int64_t start, length, scale;
  int64_t source, left;  // first source sample, and how much of it remains
};

Direction set_up(double d0, double d1, double s0, double s1, double source_size, double dest_size,
                 int64_t units) {
  const double d = d1 - d0, s = s1 - s0;
  if (s0 < 0) d0 -= d * s0 / s, s0 = 0;
  if (s0 > source_size) d0 -= (s0 - source_size) * d / s, s0 = source_size;
  if (d0 < 0) s0 -= s * d0 / d, d0 = 0;
  if (d0 > dest_size) s0 -= (d0 - dest_size) * s / d, d0 = dest_size;
  const double u = static_cast<double>(units);
  const auto trunc = [](double value) { return static_cast<int64_t>(value); };
  Direction out = {};
  out.start = trunc(d0 * u);
  out.length = trunc(d1 * u) - out.start;
  const int64_t span = trunc(s1 * u) - trunc(s0 * u);
  if (out.length < 1 || span == 0) return {};
  out.scale = trunc(static_cast<double>(out.length) * u / static_cast<double>(span) + 0.99999);
  if (out.scale <= 0) out.scale = 1;
  const int64_t p = trunc(static_cast<double>(out.scale) * s0);
  out.source = p / out.scale;
  out.left = out.scale - p % out.scale;
  return out;
}

// Walks length units over samples of scale units: visit(sample, overlap).
template <class Visit>
void overlaps(int64_t sample, int64_t left, int64_t scale, int64_t length, Visit visit) {
  while (length > 0) {
    const int64_t overlap = std::min(left, length);
    visit(sample, overlap);
    length -= overlap;
    left -= overlap;
    if (left == 0) ++sample, left = scale;
  }
}

struct Model {
  Frame& dst;
  Frame* cover;
  Frame& src;
  Direction x, y;
  int first_line, line_step, lines;  // of the source

  int clamped_line(int64_t line) const {
    return first_line + line_step * static_cast<int>(std::clamp<int64_t>(line, 0, lines - 1));
  }
  int64_t clamped_column(int64_t column) const { return std::clamp<int64_t>(column, 0, src->width - 1); }

  // Byte `byte` of a pixel; of packed 4:2:2, byte 1 and 3 are the chroma of the pixel's pair.
  uint64_t sample(int64_t column, int64_t line, int byte) const {
    const int64_t c = clamped_column(column);
    const int64_t at = dst->format != BMP_FORMAT_YUY2 ? c * src->bytes_per_pixel + byte
                       : byte == 0                    ? c * 2
                                                      : c / 2 * 4 + byte;
    return src.row(clamped_line(line))[at];
  }

  uint64_t area_sum(int64_t column, int64_t c_left, int64_t width, int64_t line, int64_t l_left,
                    int64_t height, int byte) const {
    uint64_t sum = 0;
    overlaps(column, c_left, x.scale, width, [&](int64_t c, int64_t across) {
      overlaps(line, l_left, y.scale, height, [&](int64_t l, int64_t down) {
        sum += sample(c, l, byte) * static_cast<uint64_t>(across * down);
      });
    });
    return sum;
  }

  void draw_line(int row, int64_t height, int64_t line, int64_t line_left);
  int64_t draw_run(int row, int64_t column, int64_t rest, int64_t line, int64_t& sample_at, int64_t& left);
};

uint8_t mix(uint64_t sum, uint64_t weight, uint64_t old, uint64_t old_weight) {
  return static_cast<uint8_t>((sum + old * old_weight) / (weight + old_weight));
}

// The interior run: whole pairs without blending. Returns the units drawn.
int64_t Model::draw_run(int row, int64_t column, int64_t rest, int64_t line, int64_t& at, int64_t& left) {
  int64_t pair = at >> 1;
  int64_t half_left = (left + (at % 2 == 0 ? x.scale : 0)) / 2;
  if (half_left == 0) ++pair, half_left = x.scale;
  int64_t drawn = 0;
  for (; rest - drawn > 8191; drawn += 8192, column += 2) {
    const auto here = static_cast<int>(column);
    uint64_t chroma[2] = {2048, 2048};
    overlaps(pair, half_left, x.scale, 4096, [&](int64_t p, int64_t overlap) {
      for (int c = 0; c < 2; ++c) {
        const int64_t held = std::min(std::max<int64_t>(p, 0), int64_t{src->width - 1} / 2);
        chroma[c] += src.row(clamped_line(line))[held * 4 + 1 + 2 * c] * static_cast<uint64_t>(overlap);
      }
    });
    half_left -= 4096;
    while (half_left < 1) ++pair, half_left += x.scale;
    for (int i = 0; i < 2; ++i) {
      uint64_t luma = 2048;
      overlaps(at, left, x.scale, 4096, [&](int64_t c, int64_t overlap) {
        luma += sample(c, line, 0) * static_cast<uint64_t>(overlap);
      });
      left -= 4096;
      while (left < 1) ++at, left += x.scale;
      dst.row(row)[(here + i) * 2] = static_cast<uint8_t>(luma >> 12);
      dst.row(row)[here * 2 + 1 + 2 * i] = static_cast<uint8_t>(chroma[i] >> 12);
      cover->set(here + i, row, uint16_t{4096});
    }
  }
  return drawn;
}

void Model::draw_line(int row, int64_t height, int64_t line, int64_t line_left) {
  const bool may_run =
      dst->format == BMP_FORMAT_YUY2 && height == 2048 && height <= line_left && x.scale != 4096;
  // The far corner may lie outside: what is beyond the bitmap's edge does not exist.
  int64_t rest = std::min(x.length, int64_t{dst->width} * 4096 - x.start);
  int64_t width = std::min(4096 - x.start % 4096, rest);
  int64_t at = x.source, left = x.left;
  bool ran = false;
  for (int64_t column = x.start / 4096; rest > 0; ++column) {
    const auto here = static_cast<int>(column);
    uint8_t* bytes = dst.row(row);
    const auto sum = [&](int byte) { return area_sum(at, left, width, line, line_left, height, byte); };
    const auto weight = static_cast<uint64_t>(width * height);
    if (dst->format == BMP_FORMAT_PAL8) {
      bytes[here] = static_cast<uint8_t>(sum(0) >> 23);
    } else if (dst->format == BMP_FORMAT_RGB32) {
      const uint64_t cov = cover->at<uint16_t>(here, row);
      const bool blended = weight != 8388608 && cov != 0;
      const uint64_t old_weight = blended ? cov * 2048 : 0;
      for (int c = 0; c < 3; ++c) {
        bytes[4 * here + c] = mix(sum(c), weight, bytes[4 * here + c], old_weight);
      }
      cover->set(here, row, static_cast<uint16_t>((weight + old_weight) >> 11));
    } else {
      const uint64_t cov = cover->at<uint16_t>(here, row);
      const uint64_t partner = cover->at<uint16_t>(here ^ 1, row);
      bytes[2 * here] = mix(sum(0), weight, bytes[2 * here], cov * 2048);
      for (const int c : {1, 3}) {
        uint8_t& chroma = bytes[2 * (here & ~1) + c];
        chroma = mix(sum(c), weight, chroma, (cov + partner) * 2048);
      }
      cover->set(here, row, static_cast<uint16_t>((cov * 2048 + weight) >> 11));
    }
    rest -= width;
    left -= width;
    while (left < 1) ++at, left += x.scale;
    if (may_run && !ran && (here & 1) != 0 && rest > 8191) {
      const int64_t drawn = draw_run(row, column + 1, rest, line, at, left);
      column += drawn / 4096;
      rest -= drawn;
      ran = true;
    }
    width = std::min<int64_t>(4096, rest);
  }
}

}  // namespace

void model_map_rect(Frame& dst, Frame* cover, Frame& src, const RectCall& call) {
  const bool odd = (call.flags & 1) != 0, one_field = (call.flags & 2) != 0;
  Model model = {dst, cover, src, {}, {}, 0, 1, src->height};
  double y0 = call.src_y0, y1 = call.src_y1, source_height = src->height;
  if (one_field && (src->field_mode & 2) != 0) {
    y0 = y0 * 0.5 + (odd ? -0.25 : 0.25);
    y1 = y1 * 0.5 + (odd ? -0.25 : 0.25);
    source_height /= 2;
    model.first_line = odd ? 1 : 0;
    model.line_step = 2;
    model.lines = (src->height + (odd ? 0 : 1)) / 2;
  }
  if (model.lines < 1) return;
  model.x = set_up(call.dst_x0, call.dst_x1, call.src_x0, call.src_x1, src->width, dst->width, 4096);
  model.y = set_up(call.dst_y0, call.dst_y1, y0, y1, source_height, dst->height, 2048);
  const Direction& y = model.y;
  if (model.x.length < 1 || y.length < 1) return;

  int64_t rest = y.length, height = std::min(2048 - y.start % 2048, rest);
  int64_t line = y.source, left = y.left;
  for (auto row = static_cast<int>(y.start / 2048); rest > 0 && row < dst->height; ++row) {
    if (!one_field || (row & 1) == (odd ? 1 : 0)) model.draw_line(row, height, line, left);
    left -= height;
    while (left < 1) ++line, left += y.scale;
    rest -= height;
    height = std::min<int64_t>(2048, rest);
  }
}

}  // namespace dorbmp::test
