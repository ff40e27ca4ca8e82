#include "dorfx/scaler.h"

#include <algorithm>
#include <cstring>

#include "dorfx/errors.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

namespace dorfx {
namespace {

constexpr int kWholeFrame = 0, kTopField = 1;

// The libraries' old names for full-range formats.
AVPixelFormat plain_format(int format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
      return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
      return AV_PIX_FMT_YUV411P;
    default:
      return static_cast<AVPixelFormat>(format);
  }
}

const AVPixFmtDescriptor& description(int format) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
}

int lines_of(int height, int field) {
  return field == kWholeFrame ? height : (height + 2 - field) / 2;
}

// Where a 4:2:0 chroma line lies, in 1/256 of a line of its own field.
int chroma_line(int format, int field) {
  if (description(format).log2_chroma_h != 1) return -513;  // nothing to say
  return field == kWholeFrame ? 128 : field == kTopField ? 64 : 192;
}

struct Planes {
  uint8_t* data[4];
  int linesize[4];
};

Planes lines_at(const AVFrame& frame, int field) {
  Planes planes{};
  const int count = av_pix_fmt_count_planes(static_cast<AVPixelFormat>(frame.format));
  for (int i = 0; i < 4; ++i) {
    planes.data[i] = frame.data[i];
    planes.linesize[i] = frame.linesize[i];
    if (field == kWholeFrame || i >= count || frame.data[i] == nullptr) continue;
    planes.data[i] += (field - kTopField) * frame.linesize[i];
    planes.linesize[i] *= 2;
  }
  return planes;
}

// The fields of a 4:2:0 picture whose height is no multiple of 4 share its chroma lines unevenly; the copy
// has the line that the second field lacks.
AvOwner<AVFrame> with_spare_chroma_line(const AVFrame& picture) {
  AvOwner<AVFrame> copy =
      make_picture(picture.width, (picture.height + 3) & ~3, static_cast<AVPixelFormat>(picture.format));
  const int count = av_pix_fmt_count_planes(static_cast<AVPixelFormat>(picture.format));
  const auto& format = description(picture.format);
  for (int plane = 0; plane < count; ++plane) {
    const bool chroma = plane == 1 || plane == 2;
    const int shift = chroma ? format.log2_chroma_h : 0;
    const int lines = AV_CEIL_RSHIFT(picture.height, shift),
              padded_lines = AV_CEIL_RSHIFT(copy->height, shift);
    const int bytes = av_image_get_linesize(static_cast<AVPixelFormat>(picture.format), picture.width, plane);
    for (int y = 0; y < padded_lines; ++y) {
      const int from = y < lines ? y : std::max(0, y - 2 * ((y - lines) / 2 + 1));
      std::memcpy(copy->data[plane] + static_cast<ptrdiff_t>(y) * copy->linesize[plane],
                  picture.data[plane] + static_cast<ptrdiff_t>(from) * picture.linesize[plane],
                  static_cast<size_t>(bytes));
    }
  }
  av_frame_copy_props(copy.get(), &picture);
  copy->height = picture.height;
  return copy;
}

}  // namespace

bool is_rgb(int format) {
  return (description(format).flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

ColourSpace colours_of(const AVFrame& picture) {
  ColourSpace colours;
  const bool rgb = is_rgb(picture.format);
  const bool named = !rgb && picture.colorspace != AVCOL_SPC_UNSPECIFIED &&
                     picture.colorspace != AVCOL_SPC_RGB && picture.colorspace != AVCOL_SPC_RESERVED;
  colours.matrix = named ? picture.colorspace : picture.height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
  const bool full =
      !rgb && (picture.color_range == AVCOL_RANGE_JPEG || plain_format(picture.format) != picture.format);
  colours.range = full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  colours.primaries = picture.color_primaries;
  colours.transfer = picture.color_trc;
  return colours;
}

const AVFrame& Scaler::convert(const AVFrame& picture, const ColourSpace& colours, const Target& target,
                               bool by_field) {
  const bool same_colours =
      colours.same_pixels(target.colours) || (is_rgb(picture.format) && is_rgb(target.format));
  if (picture.width == target.width && picture.height == target.height &&
      plain_format(picture.format) == target.format && same_colours) {
    return picture;
  }
  if (!result_ || av_frame_is_writable(result_.get()) == 0 || result_->width != target.width ||
      result_->height != target.height || result_->format != target.format) {
    result_ = make_picture(target.width, target.height, target.format);
  }
  const AVFrame* source = &picture;
  by_field = by_field && picture.height >= 2 && target.height >= 2;
  if (by_field && description(picture.format).log2_chroma_h == 1 && picture.height % 4 != 0) {
    padded_ = with_spare_chroma_line(picture);
    source = padded_.get();
  }
  for (int field = by_field ? kTopField : kWholeFrame; field <= (by_field ? kTopField + 1 : kWholeFrame);
       ++field) {
    convert_lines(*source,
                  {picture.width, lines_of(picture.height, field), plain_format(picture.format), target.width,
                   lines_of(target.height, field), target.format, colours.matrix, colours.range,
                   target.colours.matrix, target.colours.range, field},
                  contexts_[static_cast<size_t>(field)]);
  }
  return *result_;
}

void Scaler::convert_lines(const AVFrame& picture, const Setup& setup, Context& context) {
  if (!context.sws || !(context.setup == setup)) {
    context.setup = setup;
    context.sws.reset(sws_alloc_context());
    SwsContext* sws = context.sws.get();
    av_opt_set_int(sws, "srcw", setup.width, 0);
    av_opt_set_int(sws, "srch", setup.height, 0);
    av_opt_set_int(sws, "src_format", setup.format, 0);
    av_opt_set_int(sws, "dstw", setup.target_width, 0);
    av_opt_set_int(sws, "dsth", setup.target_height, 0);
    av_opt_set_int(sws, "dst_format", setup.target_format, 0);
    av_opt_set_int(sws, "sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, 0);
    av_opt_set_int(sws, "src_v_chr_pos", chroma_line(setup.format, setup.field), 0);
    av_opt_set_int(sws, "dst_v_chr_pos", chroma_line(setup.target_format, setup.field), 0);
    // RGB is full range by nature; the ranges are those of the YUV sides.
    const bool full = is_rgb(setup.format) || setup.range == AVCOL_RANGE_JPEG;
    const bool target_full = is_rgb(setup.target_format) || setup.target_range == AVCOL_RANGE_JPEG;
    sws_setColorspaceDetails(sws, sws_getCoefficients(setup.matrix), full,
                             sws_getCoefficients(setup.target_matrix), target_full, 0, 1 << 16, 1 << 16);
    if (sws_init_context(sws, nullptr, nullptr) < 0) {
      throw Failure(std::string("pixel format ") + description(setup.format).name,
                    std::string("cannot be converted to ") + description(setup.target_format).name,
                    "convert the clip first");
    }
  }
  const Planes from = lines_at(picture, setup.field), to = lines_at(*result_, setup.field);
  sws_scale(context.sws.get(), from.data, from.linesize, 0, setup.height, to.data, to.linesize);
}

}  // namespace dorfx
