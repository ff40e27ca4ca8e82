#include "dorfx/encoder_choice.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "dorfx/errors.h"

namespace dorfx {
namespace {

bool is(const AVOutputFormat& container, const char* name) {
  return std::strcmp(container.name, name) == 0;
}

const AVCodec* first_encoder(std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (const AVCodec* codec = avcodec_find_encoder_by_name(name)) return codec;
  }
  return nullptr;
}

const AVCodec* usual_video_encoder(const AVOutputFormat& container) {
  if (is(container, "yuv4mpegpipe")) return first_encoder({"wrapped_avframe"});
  if (is(container, "nut")) return first_encoder({"ffv1"});
  if (is(container, "avi")) return first_encoder({"mpeg4"});
  // It takes newer codecs, too, but few of its players do.
  if (is(container, "asf")) return avcodec_find_encoder(container.video_codec);
  if (avformat_query_codec(&container, AV_CODEC_ID_H264, FF_COMPLIANCE_NORMAL) == 1) {
    if (const AVCodec* codec = first_encoder({"libx264", "mpeg4"})) return codec;
  }
  return avcodec_find_encoder(container.video_codec);
}

bool supports(const AVCodec& encoder, AVPixelFormat format) {
  if (encoder.pix_fmts == nullptr) return true;
  for (const AVPixelFormat* at = encoder.pix_fmts; *at != AV_PIX_FMT_NONE; ++at) {
    if (*at == format) return true;
  }
  return false;
}

// Best first.
std::vector<AVPixelFormat> wanted_formats(const AVCodec& encoder, const AVOutputFormat& container,
                                          const Stage& stage) {
  const bool rgb = stage.format == BMP_FORMAT_RGB32;
  if (is(container, "yuv4mpegpipe")) return {rgb ? AV_PIX_FMT_YUV444P : AV_PIX_FMT_YUV422P};
  if (is_lossless(encoder.id)) {
    if (rgb) return {AV_PIX_FMT_BGR0, AV_PIX_FMT_BGRA, AV_PIX_FMT_GBRP, AV_PIX_FMT_RGB24};
    if (encoder.id == AV_CODEC_ID_RAWVIDEO) return {AV_PIX_FMT_YUYV422};
    return {AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUYV422, AV_PIX_FMT_UYVY422};
  }
  // 4:2:0 wants an even number of lines, in fields an even number each, and an even width.
  const int lines = stage.interlaced() ? 4 : 2;
  if (stage.width % 2 != 0 || (!stage.interlaced() && stage.height % 2 != 0)) {
    return {AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV420P};
  }
  if (stage.height % lines != 0) return {AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV420P};
  return {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P10};
}

}  // namespace

const AVOutputFormat& choose_container(const std::string& name) {
  const AVOutputFormat* container = name == "-" ? av_guess_format("yuv4mpegpipe", nullptr, nullptr)
                                                : av_guess_format(nullptr, name.c_str(), nullptr);
  if (container == nullptr || container->video_codec == AV_CODEC_ID_NONE ||
      (container->flags & AVFMT_NEEDNUMBER) != 0 || is(*container, "image2")) {
    throw UsageError(name, "has no ending of a video file", "use .mp4, .mkv, .mov, .avi, .nut or .y4m");
  }
  return *container;
}

const AVCodec& choose_video_encoder(const AVOutputFormat& container, const std::string& asked,
                                    const std::string& name) {
  const AVCodec* encoder = nullptr;
  if (asked.empty()) {
    encoder = usual_video_encoder(container);
  } else if (!(encoder = avcodec_find_encoder_by_name(asked.c_str()))) {
    if (const AVCodecDescriptor* codec = avcodec_descriptor_get_by_name(asked.c_str())) {
      encoder = avcodec_find_encoder(codec->id);
    }
  }
  if (encoder == nullptr || encoder->type != AVMEDIA_TYPE_VIDEO) {
    throw UsageError("--codec",
                     asked.empty() ? "there is no encoder for this kind of file"
                                   : "'" + asked + "' is no video encoder here",
                     "try h264, mpeg4, ffv1 or rawvideo");
  }
  // Without an entry of its own a codec may still go in by its identifier from AVI.
  if (avformat_query_codec(&container, encoder->id, FF_COMPLIANCE_UNOFFICIAL) == 0) {
    const std::string file = name == "-" ? "y4m" : name.substr(name.find_last_of('.') + 1);
    throw UsageError("--codec", std::string(encoder->name) + " does not go into ." + file,
                     is(container, "matroska") ? "use another codec" : "use .mkv or another codec");
  }
  return *encoder;
}

AVPixelFormat choose_pixel_format(const AVCodec& encoder, const AVOutputFormat& container, const Stage& stage,
                                  const std::string& asked) {
  if (!asked.empty()) {
    const AVPixelFormat format = av_get_pix_fmt(asked.c_str());
    if (format == AV_PIX_FMT_NONE || !supports(encoder, format) || sws_isSupportedOutput(format) == 0) {
      throw UsageError("--pix-fmt", "'" + asked + "' is no pixel format that " + encoder.name + " takes",
                       "leave it out for the usual one");
    }
    return format;
  }
  const std::vector<AVPixelFormat> wanted = wanted_formats(encoder, container, stage);
  for (const AVPixelFormat format : wanted) {
    if (supports(encoder, format)) return format;
  }
  return avcodec_find_best_pix_fmt_of_list(encoder.pix_fmts, wanted.front(), 0, nullptr);
}

const AVCodec* choose_audio_encoder(const AVOutputFormat& container, const AVCodec& video) {
  const bool takes_pcm = avformat_query_codec(&container, AV_CODEC_ID_PCM_S16LE, FF_COMPLIANCE_NORMAL) == 1;
  if (takes_pcm && (is_lossless(video.id) || is(container, "avi"))) {
    return avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE);
  }
  const bool takes_aac = avformat_query_codec(&container, AV_CODEC_ID_AAC, FF_COMPLIANCE_NORMAL) == 1;
  if (takes_aac && !is(container, "asf")) {
    return avcodec_find_encoder(AV_CODEC_ID_AAC);
  }
  return container.audio_codec == AV_CODEC_ID_NONE ? nullptr : avcodec_find_encoder(container.audio_codec);
}

int choose_sample_rate(const AVCodec& encoder, int asked) {
  if (encoder.id == AV_CODEC_ID_WMAV2) return std::min(asked, 48000);  // without a list of them
  if (encoder.supported_samplerates == nullptr) return asked;
  int next = 0, highest = 0;
  for (const int* rate = encoder.supported_samplerates; *rate != 0; ++rate) {
    highest = std::max(highest, *rate);
    if (*rate >= asked && (next == 0 || *rate < next)) next = *rate;
  }
  return next != 0 ? next : highest;
}

bool codes_fields(AVCodecID codec, int height) {
  switch (codec) {
    case AV_CODEC_ID_MJPEG:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_H263:
    case AV_CODEC_ID_H263P:
    case AV_CODEC_ID_FLV1:
    case AV_CODEC_ID_MSMPEG4V2:
    case AV_CODEC_ID_MSMPEG4V3:
    case AV_CODEC_ID_WMV1:
    case AV_CODEC_ID_WMV2:
    case AV_CODEC_ID_SPEEDHQ:
      return false;
    case AV_CODEC_ID_H264:
      return height % 2 == 0;
    default:
      return true;
  }
}

bool keeps_field_order(const AVOutputFormat& container, AVCodecID codec, int height) {
  // What this codec says of whole frames is believed before most containers.
  if (codec == AV_CODEC_ID_H264 && !codes_fields(codec, height)) return is(container, "matroska");
  for (const char* name : {"matroska", "mov", "mp4", "yuv4mpegpipe"}) {
    if (is(container, name)) return true;
  }
  return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_MPEG2VIDEO || codec == AV_CODEC_ID_MPEG4 ||
         codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_PRORES;
}

const char* encoder_name(const AVCodec& encoder) {
  return encoder.id == AV_CODEC_ID_WRAPPED_AVFRAME ? "uncompressed" : encoder.name;
}

bool is_lossless(AVCodecID codec) {
  return codec == AV_CODEC_ID_FFV1 || codec == AV_CODEC_ID_HUFFYUV || codec == AV_CODEC_ID_FFVHUFF ||
         codec == AV_CODEC_ID_UTVIDEO || codec == AV_CODEC_ID_RAWVIDEO;
}

}  // namespace dorfx
