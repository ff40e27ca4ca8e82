#include "dorfx/transitions/shape_wipe.h"

#include <algorithm>
#include <cmath>

#include "dorfx/errors.h"
#include "dorfx/pixels.h"

namespace dorfx {
namespace {

class ShapeWipe : public Transition {
 public:
  ShapeWipe(const Stage& stage, std::unique_ptr<Shape> shape, ShapeUse use, const Border& border)
      : shape_(std::move(shape)),
        use_(use),
        key_(stage.width, stage.height, BMP_FORMAT_KEY16),
        border_width_(border.width),
        border_color_(stage.packed_for_border(border.colour)),
        background_color_(stage.packed(stage.background)) {
    if (border.width > 0) border_key_.emplace(stage.width, stage.height, BMP_FORMAT_KEY16);
  }

  void render(const Layers& layers, double progress, uint32_t fields) override {
    switch (use_) {
      case ShapeUse::kOpen:
        lay(layers.out, layers.from, layers.to, progress, fields);
        break;
      case ShapeUse::kClose:
        lay(layers.out, layers.to, layers.from, 1 - progress, fields);
        break;
      case ShapeUse::kCrop:
        draw(key_, std::fabs(1 - 2 * progress) * shape_->full_reach(), 0, fields);
        bmp_compose_color(layers.out, progress < 0.5 ? layers.from : layers.to, nullptr, key_.bitmap(),
                          nullptr, background_color_, fields);
        break;
    }
  }

 private:
  void draw(Frame& key, double reach, double inset, uint32_t fields) const {
    shape_->draw(key.bitmap(), reach, inset, fields);
    pair_last_key(key, fields);
  }

  void lay(Bitmap* out, const Bitmap* around, const Bitmap* inside, double share, uint32_t fields) {
    const double reach = share * shape_->full_reach();
    draw(key_, reach, border_width_, fields);
    if (!border_key_) {
      bmp_compose(out, around, inside, key_.bitmap(), fields);
      return;
    }
    draw(*border_key_, reach, 0, fields);
    bmp_compose_color(out, around, inside, key_.bitmap(), border_key_->bitmap(), border_color_, fields);
  }

  std::unique_ptr<Shape> shape_;
  ShapeUse use_;
  Frame key_;
  std::optional<Frame> border_key_;
  double border_width_;
  uint32_t border_color_, background_color_;
};

}  // namespace

std::unique_ptr<Transition> make_shape_wipe(const Stage& stage, std::unique_ptr<Shape> shape, ShapeUse use,
                                            const Border& border) {
  return std::make_unique<ShapeWipe>(stage, std::move(shape), use, border);
}

ShapeEdge read_edge(const Parameters& parameters, double run) {
  static constexpr const char* kProfiles[] = {"linear", "cosine"};
  const Softness softness = parameters.softness();
  return {softness.in_pixels ? softness.value : softness.value * run,
          parameters.choice("profile", kProfiles) == 1,
          parameters.knows("border") ? parameters.border().width : 0};
}

Point read_center(const Stage& stage, const Parameters& parameters) {
  const std::string& text = parameters.text("center");
  const size_t comma = text.find(',');
  if (comma == std::string::npos) {
    throw UsageError(parameters.subject("center"), "'" + text + "' is no point",
                     "write X,Y, across and down, such as 0.5,0.5");
  }
  const std::string down = text.substr(comma + 1);
  return {parse_number(parameters.subject("center"), text.substr(0, comma), 0, 1) * stage.width,
          parse_number(parameters.subject("center"), down, 0, 1) * stage.height};
}

}  // namespace dorfx
