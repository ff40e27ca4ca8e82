#include "gallery.h"
#include "scenes.h"

namespace dorbmp::gallery {
namespace {

// Small planes, shown large: coverage pixel by pixel.
constexpr int32_t kWidth = 36;
constexpr int32_t kHeight = 24;
constexpr int kScale = 8;

template <class Draw>
Panel key_panel(const std::string& caption, Draw draw) {
  const Frame plane = make_key(kWidth, kHeight);
  draw(plane.get());
  return {caption, picture_of(*plane, kScale)};
}

Panel rect_panel(const std::string& caption, float x, float y, float width, float height, float radius_x,
                 float radius_y, uint32_t flags) {
  return key_panel(
      caption, [=](Bitmap* plane) { bmp_alpha_rect(plane, x, y, width, height, radius_x, radius_y, flags); });
}

Panel disc_panel(const std::string& caption, float cx, float cy, float radius, float softness, float aspect,
                 uint32_t flags) {
  return key_panel(caption,
                   [=](Bitmap* plane) { bmp_alpha_circle(plane, cx, cy, radius, softness, aspect, flags); });
}

Image rect_plain(const char* title) {
  return sheet(title,
               {rect_panel("4, 4, 28 x 16: whole pixels", 4, 4, 28, 16, 0, 0, 0),
                rect_panel("4.5, 4.25, 27.25 x 15.5", 4.5f, 4.25f, 27.25f, 15.5f, 0, 0, 0)},
               2);
}

Image rect_combinations(const char* title) {
  const auto twice = [](uint32_t flags) {
    return [flags](Bitmap* plane) {
      // Half a pixel each: their partly covered columns and lines cross.
      bmp_alpha_rect(plane, 3.5f, 3.5f, 18, 12, 0, 0, flags);
      bmp_alpha_rect(plane, 21.5f, 3.5f, 11, 12, 0, 0, flags);
      bmp_alpha_rect(plane, 10.5f, 15.5f, 15, 5, 0, 0, flags);
    };
  };
  return sheet(title,
               {key_panel("ADD: shared edges join", twice(BMP_ALPHA_ADD)),
                key_panel("MAX: the larger one stays", twice(BMP_ALPHA_MAX))},
               2);
}

Image rounded(const char* title, uint32_t flags) {
  flags |= BMP_ALPHA_ROUNDED;
  return sheet(title,
               {rect_panel("30.5 x 18.5, radii 7, 7", 2.75f, 2.75f, 30.5f, 18.5f, 7, 7, flags),
                rect_panel("30.5 x 18.5, radii 12, 6", 2.75f, 2.75f, 30.5f, 18.5f, 12, 6, flags),
                rect_panel("radii 40, 40 shrink to fit", 2.75f, 2.75f, 30.5f, 18.5f, 40, 40, flags),
                rect_panel("sticking out of the plane", -8, -6, 30.5f, 18.5f, 9, 9, flags)},
               2);
}

Image rounded_hard(const char* title) {
  return rounded(title, BMP_ALPHA_HARD);
}
Image rounded_linear(const char* title) {
  return rounded(title, BMP_ALPHA_SOFT);
}
Image rounded_cosine(const char* title) {
  return rounded(title, BMP_ALPHA_SOFT | BMP_ALPHA_COSINE);
}

Image rect_fields(const char* title) {
  constexpr uint32_t kRounded = BMP_ALPHA_ROUNDED | BMP_ALPHA_HARD;
  return sheet(title,
               {rect_panel("FIELD_ONLY", 2.75f, 2.75f, 30.5f, 18.5f, 9, 9, kRounded | BMP_FIELD_ONLY),
                rect_panel("FIELD_ONLY | FIELD_ODD", 2.75f, 2.75f, 30.5f, 18.5f, 9, 9,
                           kRounded | BMP_FIELD_ONLY | BMP_FIELD_ODD)},
               2);
}

Image disc_hard(const char* title) {
  return sheet(title,
               {disc_panel("centre 18, 12, radius 10", 18, 12, 10, 0, 1, 0),
                disc_panel("centre 18.3, 12.4, radius 3.5", 18.3f, 12.4f, 3.5f, 0, 1, 0)},
               2);
}

Image disc_soft(const char* title, uint32_t flags) {
  return sheet(title,
               {disc_panel("radius 11, softness 4", 18, 12, 11, 4, 1, flags),
                disc_panel("radius 11, softness 11", 18, 12, 11, 11, 1, flags)},
               2);
}

Image disc_linear(const char* title) {
  return disc_soft(title, 0);
}
Image disc_cosine(const char* title) {
  return disc_soft(title, BMP_ALPHA_COSINE);
}

Image disc_fields(const char* title) {
  return sheet(title,
               {disc_panel("FIELD_ONLY", 18, 12, 11, 4, 1, BMP_FIELD_ONLY),
                disc_panel("FIELD_ONLY | FIELD_ODD", 18, 12, 11, 4, 1, BMP_FIELD_ONLY | BMP_FIELD_ODD)},
               2);
}

Image disc_aspect(const char* title) {
  return sheet(title,
               {disc_panel("aspect 1", 18, 12, 11, 3, 1, 0), disc_panel("aspect 2", 18, 24, 11, 3, 2, 0),
                disc_panel("aspect 0.5", 18, 6, 5.5f, 3, 0.5f, 0)},
               3);
}

constexpr Entry kEntries[] = {
    {"alpha_rect_plain", "bmp_alpha_rect: plain", "Coverage is exact to 1/64 pixel on each axis.",
     rect_plain},
    {"alpha_rect_add_max", "bmp_alpha_rect: add and maximum",
     "Three rectangles that share edges in the middle of pixels. Added coverage joins without a seam; by "
     "maximum "
     "the shared pixels stay half covered.",
     rect_combinations},
    {"alpha_rect_rounded_hard", "bmp_alpha_rect: rounded, hard", "True area coverage along the rim.",
     rounded_hard},
    {"alpha_rect_rounded_linear", "bmp_alpha_rect: rounded, soft, linear",
     "Coverage falls over the radii, from 4096 inside to 0 at the sides.", rounded_linear},
    {"alpha_rect_rounded_cosine", "bmp_alpha_rect: rounded, soft, cosine",
     "The same shapes through the raised-cosine falloff.", rounded_cosine},
    {"alpha_rect_fields", "bmp_alpha_rect: one field", "Lines of the other field are left alone.",
     rect_fields},
    {"alpha_circle_hard", "bmp_alpha_circle: hard", "Sixteen samples a pixel along the rim.", disc_hard},
    {"alpha_circle_linear", "bmp_alpha_circle: soft, linear",
     "The band lies inside the radius; as wide as the radius, it leaves no full centre.", disc_linear},
    {"alpha_circle_cosine", "bmp_alpha_circle: soft, cosine",
     "The same discs through the raised-cosine falloff.", disc_cosine},
    {"alpha_circle_fields", "bmp_alpha_circle: one field", "Lines of the other field are left alone.",
     disc_fields},
    {"alpha_circle_aspect", "bmp_alpha_circle: aspect",
     "A line is aspect pixels high: discs that are round where the picture is shown.", disc_aspect},
};

}  // namespace

std::span<const Entry> alpha_entries() {
  return kEntries;
}

}  // namespace dorbmp::gallery
