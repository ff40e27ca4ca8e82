#include "dorfx/frame_storer.h"

#include "dorfx/pixels.h"

namespace dorfx {

FrameStorer::FrameStorer(const Stage& stage, AVPixelFormat format) : stage_(stage), format_(format) {}

AvOwner<AVFrame> FrameStorer::store(const Frame& frame) {
  const bool direct = is_same_samples(format_, stage_.format);
  const AVPixelFormat samples = direct                              ? format_
                                : stage_.format == BMP_FORMAT_RGB32 ? AV_PIX_FMT_BGR0
                                                                    : AV_PIX_FMT_YUV422P;
  AvOwner<AVFrame> picture = make_picture(stage_.width, stage_.height, samples);
  copy_picture_out(frame, *picture);
  if (!direct) {
    const Scaler::Target target{stage_.width, stage_.height, format_, stage_.colours};
    const AVFrame& converted = scaler_.convert(*picture, stage_.colours, target, stage_.interlaced());
    AvOwner<AVFrame> kept(av_frame_clone(&converted));
    if (!kept) throw std::bad_alloc();
    picture = std::move(kept);
  }
  const bool rgb = (av_pix_fmt_desc_get(format_)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
  picture->colorspace = rgb ? AVCOL_SPC_RGB : stage_.colours.matrix;
  picture->color_range = rgb ? AVCOL_RANGE_JPEG : stage_.colours.range;
  picture->color_primaries = stage_.colours.primaries;
  picture->color_trc = stage_.colours.transfer;
  picture->sample_aspect_ratio = stage_.sample_aspect;
  picture->interlaced_frame = stage_.interlaced() ? 1 : 0;
  picture->top_field_first = stage_.order == FieldOrder::kTopFirst ? 1 : 0;
  return picture;
}

}  // namespace dorfx
