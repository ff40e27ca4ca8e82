#include "dorfx/transitions/scene.h"

#include <algorithm>

#include "dorfx/pixels.h"
#include "dorfx/transitions/picture_view.h"

namespace dorfx {
namespace {

// Positions in a picture are cut down to 1/128 of a pixel; half of that ahead they are rounded, so that a
// picture at rest is drawn as it is.
constexpr double kHalfStep = 1.0 / 256;

bool shows_front(const std::array<PolygonVertex, 4>& at) {
  const double area = (double{at[2].x} - at[0].x) * (double{at[3].y} - at[1].y) -
                      (double{at[3].x} - at[1].x) * (double{at[2].y} - at[0].y);
  return area > 0;
}

Frame& made(std::optional<Frame>& frame, const Box& size, PixelFormat format) {
  if (!frame) frame.emplace(static_cast<int>(size.right), static_cast<int>(size.bottom), format);
  return *frame;
}

}  // namespace

Scene::Scene(const Stage& stage, double distance, bool smooth)
    : frame_{0, 0, static_cast<double>(stage.width), static_cast<double>(stage.height)},
      line_aspect_(stage.line_aspect()),
      unit_(std::max(width(), height())),
      eye_(distance * unit_),
      smooth_(smooth),
      background_(stage.width, stage.height, stage.format),
      format_(stage.format) {
  fill(background_, stage.packed(stage.background));
}

Corners Scene::place_of(const Box& part) const {
  const auto at = [&](double x, double y) {
    return Vec3{x - frame_.right / 2, (y - frame_.bottom / 2) * line_aspect_, 0};
  };
  return {at(part.left, part.top), at(part.right, part.top), at(part.right, part.bottom),
          at(part.left, part.bottom)};
}

std::array<PolygonVertex, 4> Scene::project(const Box& part, const Corners& corners) const {
  const double u[] = {part.left, part.right, part.right, part.left};
  const double v[] = {part.top, part.top, part.bottom, part.bottom};
  std::array<PolygonVertex, 4> seen{};
  for (size_t i = 0; i < 4; ++i) {
    // Nothing comes nearer to the eye than a twentieth of its distance.
    const double q = shrink_at(std::max(corners[i].z, -0.95 * eye_));
    seen[i] = {static_cast<float>(u[i] + kHalfStep), static_cast<float>(v[i] + kHalfStep),
               static_cast<float>(q), static_cast<float>(corners[i].x * q + frame_.right / 2),
               static_cast<float>(corners[i].y * q / line_aspect_ + frame_.bottom / 2)};
  }
  return seen;
}

void Scene::begin_over(Bitmap* out, uint32_t fields) {
  out_ = out;
  fields_ = fields;
}

void Scene::begin(Bitmap* out, uint32_t fields) {
  begin_over(out, fields);
  bmp_copy(out, background_.bitmap(), fields);
}

void Scene::map(const Bitmap& picture, const std::array<PolygonVertex, 4>& vertices, Bitmap* out,
                Bitmap* cover, Bitmap* depth) const {
  const Bitmap view = picture_view(picture, static_cast<int>(frame_.right), fields_);
  bmp_map_polygon(out, cover, depth, &view, nullptr, vertices.data(), 4,
                  fields_ | (smooth_ ? BMP_MAP_SMOOTH : 0));
}

void Scene::map_front(const TexturedQuad& quad, Bitmap* out, Bitmap* cover) const {
  const auto vertices = project(quad.part, quad.corners);
  if (shows_front(vertices)) map(*quad.picture, vertices, out, cover, nullptr);
}

Bitmap* Scene::cleared(std::optional<Frame>& plane) {
  Bitmap* const bitmap = made(plane, frame_, BMP_FORMAT_KEY16).bitmap();
  bmp_clear(bitmap, fields_);
  return bitmap;
}

void Scene::draw(const TexturedQuad& quad) {
  if (quad.key != nullptr) {
    draw_keyed(quad);
  } else {
    map_front(quad, out_, nullptr);
  }
}

// Picture and key are mapped by one polygon, each onto a plane of its own. Beside a coverage plane the pixels
// of an anti-aliased edge are the picture's alone; the key's are mixed with the zeros around it.
void Scene::draw_keyed(const TexturedQuad& quad) {
  const auto vertices = project(quad.part, quad.corners);
  if (!shows_front(vertices)) return;
  Bitmap* layer = made(layer_, frame_, format_).bitmap();
  map(*quad.picture, vertices, layer, smooth_ ? cleared(cover_) : nullptr, nullptr);
  Bitmap* key = cleared(key_);
  map(*quad.key, vertices, key, nullptr, nullptr);
  bmp_compose(out_, out_, layer, key, fields_);
}

void Scene::draw_joined(const std::vector<TexturedQuad>& quads) {
  if (!smooth_) {
    for (const TexturedQuad& quad : quads) draw(quad);
    return;
  }
  Bitmap* layer = made(layer_, frame_, format_).bitmap();
  Bitmap* cover = cleared(cover_);
  for (const TexturedQuad& quad : quads) map_front(quad, layer, cover);
  bmp_compose(out_, out_, layer, cover, fields_);
}

void Scene::draw_by_depth(const std::vector<TexturedQuad>& quads) {
  Bitmap* depth = made(depth_, frame_, BMP_FORMAT_QUAD3).bitmap();
  bmp_clear(depth, BMP_FRAME);
  for (const TexturedQuad& quad : quads) {
    map(*quad.picture, project(quad.part, quad.corners), out_, nullptr, depth);
  }
}

void Scene::draw_color(uint32_t color, const Bitmap* matte, const Corners& corners) {
  const auto vertices = project(frame_, corners);
  if (!shows_front(vertices)) return;
  const Bitmap view = picture_view(*matte, static_cast<int>(frame_.right), BMP_FRAME);
  bmp_map_polygon(out_, nullptr, nullptr, BMP_VALUE(color), &view, vertices.data(), 4, fields_ | BMP_MAP_AUX);
}

Scene make_scene(const Stage& stage, const Parameters& parameters) {
  return {stage, parameters.number("distance", 1, 100),
          parameters.knows("smooth") && parameters.flag("smooth")};
}

}  // namespace dorfx
