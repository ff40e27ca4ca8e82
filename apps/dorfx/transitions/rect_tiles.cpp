#include "dorfx/transitions/rect_tiles.h"

#include "dorfx/transitions/picture_view.h"

#include <cmath>

namespace dorfx {
namespace {

// Finer positions would leave the two rectangles of a picture that keeps its size unlike in their last bits,
// and the picture no longer sharp.
double snapped(double position) {
  return std::round(position * 256) / 256;
}

Box snapped(const Box& box) {
  return {snapped(box.left), snapped(box.top), snapped(box.right), snapped(box.bottom)};
}

}  // namespace

void RectTiles::begin(Bitmap* out, uint32_t fields) {
  out_ = out;
  fields_ = fields;
  bmp_clear(cover_.bitmap(), BMP_FRAME);
}

void RectTiles::tile(const Bitmap* picture, const Box& part, const Box& place) {
  Box to = snapped(place), from = snapped(part);
  if (to.right <= to.left || to.bottom <= to.top || to.left >= width_) return;
  // The spare columns stay free: the pair of an odd width's last pixel takes its chroma by the coverage of
  // both.
  if (to.right > width_) {
    from.right -= (to.right - width_) * (from.right - from.left) / (to.right - to.left);
    to.right = width_;
  }
  const Bitmap view = picture_view(*picture, width_, fields_);
  const auto exact = [](double position) { return static_cast<float>(position); };
  bmp_map_rect(out_, cover_.bitmap(), exact(to.left), exact(to.top), exact(to.right), exact(to.bottom), &view,
               nullptr, exact(from.left), exact(from.top), exact(from.right), exact(from.bottom), fields_);
}

void RectTiles::keep_around(const Bitmap* picture, const Box& outer, const Box& inner) {
  keep(picture, {outer.left, outer.top, outer.right, inner.top});
  keep(picture, {outer.left, inner.top, inner.left, inner.bottom});
  keep(picture, {inner.right, inner.top, outer.right, inner.bottom});
  keep(picture, {outer.left, inner.bottom, outer.right, outer.bottom});
}

}  // namespace dorfx
