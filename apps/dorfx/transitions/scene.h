// Pictures as quads in space, drawn by polygon mapping with perspective.
#pragma once

#include <optional>
#include <vector>

#include "dorfx/frame.h"
#include "dorfx/transitions/rect_tiles.h"
#include "dorfx/transitions/space.h"
#include "dorfx/transitions/transition.h"

namespace dorfx {

// A part of a picture, in pixels and lines, and where its corners are. key: of the frame's size, on the 4096
// scale; it lies on the picture and moves with it. Null: all of the picture is there.
struct TexturedQuad {
  const Bitmap* picture;
  Box part;
  Corners corners;
  const Bitmap* key = nullptr;
};

class Scene {
 public:
  // distance: of the eye from the frame, in units.
  Scene(const Stage& stage, double distance, bool smooth);

  // The frame's longer side, in widths of a pixel.
  double unit() const { return unit_; }
  double eye() const { return eye_; }
  Box frame() const { return frame_; }
  double width() const { return frame_.right; }
  double height() const { return frame_.bottom * line_aspect_; }
  // Where a part of the frame lies in space.
  Corners place_of(const Box& part) const;
  // How much smaller things are at a depth.
  double shrink_at(double z) const { return eye_ / (eye_ + z); }

  // Starts a frame or field of `out`, over what it holds.
  void begin_over(Bitmap* out, uint32_t fields);
  // The same over the background colour.
  void begin(Bitmap* out, uint32_t fields);
  // Draws a quad over what is there; its back is not drawn.
  void draw(const TexturedQuad& quad);
  // The same for quads without keys that share edges: there, anti-aliased ones do not show what is behind.
  void draw_joined(const std::vector<TexturedQuad>& quads);
  // Quads in any order, seen from both sides: each pixel shows the nearest, also where they pass through one
  // another. Edges are not anti-aliased.
  void draw_by_depth(const std::vector<TexturedQuad>& quads);
  // A colour through a matte (BMP_FORMAT_KEY8, 0 to 255) of the frame's size. Not seen from behind.
  void draw_color(uint32_t color, const Bitmap* matte, const Corners& corners);

 private:
  std::array<PolygonVertex, 4> project(const Box& part, const Corners& corners) const;
  void map(const Bitmap& picture, const std::array<PolygonVertex, 4>& vertices, Bitmap* out, Bitmap* cover,
           Bitmap* depth) const;
  void map_front(const TexturedQuad& quad, Bitmap* out, Bitmap* cover) const;
  void draw_keyed(const TexturedQuad& quad);
  // A plane of zeros.
  Bitmap* cleared(std::optional<Frame>& plane);

  Box frame_;
  double line_aspect_, unit_, eye_;
  bool smooth_;
  Frame background_;
  std::optional<Frame> layer_, cover_, key_, depth_;  // made when first needed
  PixelFormat format_;
  Bitmap* out_ = nullptr;
  uint32_t fields_ = BMP_FRAME;
};

constexpr Parameter kSmoothParameter = {"smooth", "0", "1: anti-aliased edges"};
constexpr Parameter kDistanceParameter = {"distance", "2",
                                          "of the eye, in widths of the frame, 1 to 100: far is flat"};

// With the parameters above; no `smooth`, no smoothing.
Scene make_scene(const Stage& stage, const Parameters& parameters);

}  // namespace dorfx
