// Lines of a disc with a soft rim.
#include <algorithm>
#include <cmath>

#include "dorbmp/alpha/disc.h"

namespace dorbmp::alpha {
namespace {

// 2 x 2 samples a pixel, where the band begins or ends.
class SoftRim {
 public:
  SoftRim(const Disc& disc, const Band& band, int32_t line)
      : band_(band),
        cx_(disc.cx),
        radius_square_(band.radius * band.radius),
        inner_square_(band.inner * band.inner) {
    for (int j = 0; j < 2; ++j) {
      const double y = line * disc.aspect + disc.aspect * 0.25 + disc.aspect / 2 * j - disc.cy;
      dy_square_[j] = y * y;
    }
  }

  uint16_t operator()(int32_t x) const {
    int32_t sum = 0;
    for (int i = 0; i < 2; ++i) {
      const double dx = x + (0.25 + 0.5 * i) - cx_;
      for (int j = 0; j < 2; ++j) sum += sample(dx * dx + dy_square_[j]);
    }
    return static_cast<uint16_t>(sum / 4);
  }

 private:
  int32_t sample(double square) const {
    if (square > radius_square_) return 0;
    // Single precision decides at the inner radius.
    if (static_cast<float>(square) <= inner_square_) return kFullKey;
    return band_.falloff.by_distance[band_.index(std::sqrt(square))];
  }

  const Band& band_;
  double cx_;
  double radius_square_;
  double inner_square_;
  double dy_square_[2];
};

// One sample a pixel, at its centre, inside the band.
class BandSpan {
 public:
  BandSpan(const Disc& disc, const Band& band, int32_t line) : band_(band), cx_(disc.cx) {
    dy_ = line * disc.aspect + disc.aspect * 0.5 - disc.cy;
    // Roundings, in 2^-24 of what they are made in. Of the outer radius in steps: 2 in dx, 1 in the squares
    // and their sum, 1 in the root, 1 in the radius. Of a block's width: 3 in dx. Of the table's length: 2.
    // And one to spare.
    const double steps = band.radius * band.scale;
    error_ = (6 * steps + 4 * kBlock * band.scale + 4 * kDistanceSteps) * 0x1p-24;
    estimates_ = error_ < 0.1 && (band.radius + std::fabs(dy_) + 2) * band.scale < 0x1p30;
  }

  void operator()(uint16_t* row, int32_t first, int32_t last) const {
    if (!estimates_) return exact(row, first, last);
    for (; first < last; first += kBlock) estimated(row, first, std::min(last - first, kBlock));
  }

 private:
  static constexpr int32_t kBlock = 128;
  static constexpr int32_t kUnsure = -1;

  int32_t index(int32_t x) const {
    const double dx = x + 0.5 - cx_;
    return band_.index(std::sqrt(dx * dx + dy_ * dy_));
  }

  void exact(uint16_t* row, int32_t first, int32_t last) const {
    for (int32_t x = first; x < last; ++x) row[x] = band_.falloff.by_distance[index(x)];
  }

  // Distances in steps, in single precision, whose roots come four at a time, to the values of exact(): where
  // the error could reach another step, or the index lies outside the table, the exact one is taken after
  // all.
  void estimated(uint16_t* row, int32_t first, int32_t count) const {
    const auto scale = static_cast<float>(band_.scale);
    const auto left = static_cast<float>((first + 0.5 - cx_) * band_.scale);
    const auto dy_square = static_cast<float>(dy_ * dy_ * band_.scale * band_.scale);
    // An index is 1024 less the depth rounded down; but for whole numbers, which are never sure, that is the
    // next one rounded down.
    const auto begin = static_cast<float>(kDistanceSteps + 0.5 - band_.radius * band_.scale);
    const auto sure = static_cast<float>(0.5 - error_);
    int32_t indices[kBlock];
    for (int32_t i = 0; i < ((count + 3) & ~3); ++i) {
      const float dx = static_cast<float>(i) * scale + left;
      const float next = std::sqrt(dx * dx + dy_square) + begin;
      const auto index = static_cast<int32_t>(next);
      const float from_middle = std::fabs(next - static_cast<float>(index) - 0.5f);
      indices[i] = index | (from_middle < sure ? 0 : kUnsure);
    }
    for (int32_t i = 0; i < count; ++i) {
      int32_t step = indices[i];
      if (static_cast<uint32_t>(step) > kDistanceSteps) [[unlikely]]
        step = index(first + i);
      row[first + i] = band_.falloff.by_distance[step];
    }
  }

  const Band& band_;
  double cx_;
  double dy_;
  double error_;
  bool estimates_;
};

}  // namespace

void draw_soft_line(uint16_t* row, const Disc& disc, const Band& band, int32_t line) {
  SpanWriter writer(row);
  const LineEdges edges(disc, line);
  const Chord outer(disc, band.radius, edges);
  if (!(edges.near_edge >= band.radius)) {
    const Chord inner(disc, band.inner, edges);
    const SoftRim rim(disc, band, line);
    const BandSpan centres(disc, band, line);
    writer.clear(outer.first);
    writer.pixels(outer.full, rim);
    writer.spans(inner.first, centres);
    writer.pixels(inner.full, rim);
    writer.fill(inner.full_end);
    writer.pixels(inner.end, rim);
    writer.spans(outer.full_end, centres);
    writer.pixels(outer.end, rim);
  }
  writer.clear(disc.width);
}

}  // namespace dorbmp::alpha
