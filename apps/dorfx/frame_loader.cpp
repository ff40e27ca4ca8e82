#include "dorfx/frame_loader.h"

#include <algorithm>

#include "dorfx/pixels.h"

namespace dorfx {
namespace {

int shift_between(FieldOrder clip, FieldOrder stage) {
  if (clip == FieldOrder::kProgressive || stage == FieldOrder::kProgressive || clip == stage) return 0;
  return clip == FieldOrder::kBottomFirst ? 1 : -1;
}

bool has_alpha_channel(const AVFrame& picture) {
  return (av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format))->flags & AV_PIX_FMT_FLAG_ALPHA) !=
         0;
}

}  // namespace

FrameLoader::FrameLoader(const Stage& stage, Fit fit, FieldOrder order)
    : stage_(stage),
      fit_(fit),
      by_field_(order != FieldOrder::kProgressive && stage.interlaced()),
      line_shift_(shift_between(order, stage.order)) {}

void FrameLoader::load(const AVFrame& picture, Frame& to) {
  const AVRational aspect =
      picture.sample_aspect_ratio.num > 0 ? picture.sample_aspect_ratio : AVRational{1, 1};
  const Placement placed = place({picture.width, picture.height, aspect},
                                 {stage_.width, stage_.height, stage_.sample_aspect}, fit_);
  const bool has_alpha = has_alpha_channel(picture);
  const AVFrame& samples = to_working_samples(picture, placed, has_alpha);
  if (placed.width < stage_.width || placed.height < stage_.height)
    fill(to, stage_.packed(stage_.background));
  lay(samples, placed, to);
  if (has_alpha) show_background(samples, placed, to);
}

const AVFrame& FrameLoader::to_working_samples(const AVFrame& picture, const Placement& placed,
                                               bool has_alpha) {
  const ColourSpace colours = colours_of(picture);
  const auto format = static_cast<AVPixelFormat>(picture.format);
  const bool same_size = picture.width == placed.width && picture.height == placed.height;
  const bool rgb = stage_.format == BMP_FORMAT_RGB32;
  if (same_size && is_same_samples(format, stage_.format) && (rgb || colours.same_pixels(stage_.colours))) {
    return picture;
  }
  const AVPixelFormat working = rgb ? (has_alpha ? AV_PIX_FMT_BGRA : AV_PIX_FMT_BGR0)
                                    : (has_alpha ? AV_PIX_FMT_YUVA422P : AV_PIX_FMT_YUV422P);
  return scaler_.convert(picture, colours, {placed.width, placed.height, working, stage_.colours}, by_field_);
}

// A line beyond the picture becomes the nearest one of its own field.
int FrameLoader::line_of(const AVFrame& picture, int line) const {
  line += line_shift_;
  if (line < 0) return std::min(1, picture.height - 1);
  return line >= picture.height ? std::max(0, picture.height - 2) : line;
}

void FrameLoader::lay(const AVFrame& picture, const Placement& placed, Frame& to) const {
  const int width = std::min(placed.width - placed.crop_x, stage_.width - placed.x);
  const int height = std::min(placed.height - placed.crop_y, stage_.height - placed.y);
  for (int y = 0; y < height; ++y) {
    copy_row_in(picture, placed.crop_x, line_of(picture, y + placed.crop_y), width, to, placed.x,
                placed.y + y);
  }
}

void FrameLoader::show_background(const AVFrame& picture, const Placement& placed, Frame& to) {
  if (!alpha_) alpha_.emplace(stage_.width, stage_.height, BMP_FORMAT_KEY16);
  bmp_clear(alpha_->bitmap(), BMP_FRAME);
  const bool planar = picture.format == AV_PIX_FMT_YUVA422P;
  const int plane = planar ? 3 : 0, step = planar ? 1 : 4, first = planar ? 0 : 3;
  const int width = std::min(placed.width - placed.crop_x, stage_.width - placed.x);
  const int height = std::min(placed.height - placed.crop_y, stage_.height - placed.y);
  for (int y = 0; y < height; ++y) {
    const ptrdiff_t line = line_of(picture, y + placed.crop_y);
    const uint8_t* from = picture.data[plane] + line * picture.linesize[plane] + placed.crop_x * step + first;
    auto* key = static_cast<uint16_t*>(bmp_pointer(alpha_->bitmap(), placed.x, placed.y + y));
    for (int x = 0; x < width; ++x) key[x] = static_cast<uint16_t>((from[x * step] * 4096 + 127) / 255);
  }
  pair_last_key(*alpha_, BMP_FRAME);
  bmp_compose_color(to.bitmap(), to.bitmap(), nullptr, alpha_->bitmap(), nullptr,
                    stage_.packed(stage_.background), BMP_FRAME);
}

}  // namespace dorfx
