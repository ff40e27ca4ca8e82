#include "dorfx/media_writer.h"

#include <algorithm>
#include <vector>

#include "dorfx/encoder_choice.h"
#include "dorfx/errors.h"
#include "dorfx/log.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace dorfx {
namespace {

// Samples a packet holds where the codec does not say.
constexpr int kAudioBlock = 1024;

// Encoders that would keep to a bit rate of their own, far too low, and the quality that they keep to
// instead: a step of quantisation, of Theora a grade up to 10.
struct Quality {
  AVCodecID codec;
  int scale;
};
constexpr Quality kQualities[] = {
    {AV_CODEC_ID_MPEG1VIDEO, 3}, {AV_CODEC_ID_MPEG2VIDEO, 3}, {AV_CODEC_ID_MPEG4, 3},
    {AV_CODEC_ID_MSMPEG4V2, 3},  {AV_CODEC_ID_MSMPEG4V3, 3},  {AV_CODEC_ID_WMV1, 3},
    {AV_CODEC_ID_WMV2, 3},       {AV_CODEC_ID_FLV1, 3},       {AV_CODEC_ID_H263, 3},
    {AV_CODEC_ID_H263P, 3},      {AV_CODEC_ID_MJPEG, 3},      {AV_CODEC_ID_SPEEDHQ, 3},
    {AV_CODEC_ID_THEORA, 9},
};

void set_quality(AVCodecContext& encoder) {
  // It keeps to its crf only as far as the bit rate goes.
  if (encoder.codec_id == AV_CODEC_ID_VP8) encoder.bit_rate = 100'000'000;
  if (av_opt_set(encoder.priv_data, "crf", "18", 0) >= 0) return;
  for (const Quality& quality : kQualities) {
    if (quality.codec != encoder.codec_id) continue;
    encoder.flags |= AV_CODEC_FLAG_QSCALE;
    encoder.global_quality = quality.scale * FF_QP2LAMBDA;
  }
}

AVSampleFormat sample_format(const AVCodec& encoder) {
  // The mix is planar float; every encoder lists what it takes.
  return encoder.sample_fmts != nullptr ? encoder.sample_fmts[0] : AV_SAMPLE_FMT_FLTP;
}

}  // namespace

void MediaWriter::CloseOutput::operator()(AVFormatContext* output) const {
  if (output->pb != nullptr) avio_closep(&output->pb);
  avformat_free_context(output);
}

MediaWriter::MediaWriter(const WriterSettings& settings, const Stage& stage, AudioMix* audio)
    : name_(settings.name == "-" ? "standard output" : settings.name), audio_(audio) {
  const AVOutputFormat& container = choose_container(settings.name);
  AVFormatContext* made = nullptr;
  av_check(avformat_alloc_output_context2(&made, &container, nullptr, nullptr), name_, "cannot be set up");
  output_.reset(made);
  open_video(settings, stage);
  if (audio_ != nullptr) open_audio();

  if (settings.name != "-") file_ = std::make_unique<OutputFile>(settings.name, settings.overwrite);
  const std::string url = file_ ? "file:" + file_->path() : "pipe:1";
  av_check(avio_open(&output_->pb, url.c_str(), AVIO_FLAG_WRITE), name_, "cannot be written");
  av_check(avformat_write_header(output_.get(), nullptr), name_, "cannot be started");
}

MediaWriter::~MediaWriter() = default;

void MediaWriter::open_video(const WriterSettings& settings, const Stage& stage) {
  const AVCodec& codec = choose_video_encoder(*output_->oformat, settings.codec, settings.name);
  video_track_.encoder.reset(avcodec_alloc_context3(&codec));
  AVCodecContext& encoder = *video_track_.encoder;
  const AVPixelFormat format = choose_pixel_format(codec, *output_->oformat, stage, settings.pixel_format);
  storer_ = std::make_unique<FrameStorer>(stage, format);
  encoder.width = stage.width;
  encoder.height = stage.height;
  encoder.pix_fmt = format;
  encoder.sample_aspect_ratio = stage.sample_aspect;
  encoder.time_base = {stage.rate.den, stage.rate.num};
  encoder.framerate = {stage.rate.num, stage.rate.den};
  encoder.thread_count = 0;
  const bool rgb = (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
  encoder.colorspace = rgb ? AVCOL_SPC_RGB : stage.colours.matrix;
  encoder.color_range = rgb ? AVCOL_RANGE_JPEG : stage.colours.range;
  encoder.color_primaries = stage.colours.primaries;
  encoder.color_trc = stage.colours.transfer;
  encoder.field_order = AV_FIELD_PROGRESSIVE;
  if (stage.interlaced()) {
    encoder.field_order = stage.order == FieldOrder::kTopFirst ? AV_FIELD_TT : AV_FIELD_BB;
    if (codes_fields(codec.id, stage.height)) {
      encoder.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    } else {
      log_info(name_ + ": " + encoder_name(codec) + " codes these fields as whole frames");
    }
    if (!keeps_field_order(*output_->oformat, codec.id, stage.height)) {
      log_warning(name_ + ": " + encoder_name(codec) + " in this kind of file carries no field order; tell " +
                  to_string(stage.order) + " to whoever reads it, or use .mkv");
    }
  }
  set_quality(encoder);
  // Its third version has the field order in it.
  if (codec.id == AV_CODEC_ID_FFV1) encoder.level = 3;
  // It writes its messages to standard error by itself.
  av_opt_set(encoder.priv_data, "x265-params", "log-level=none", 0);
  // Codes of AVI in .mkv, and the like.
  encoder.strict_std_compliance = output_->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
  add_stream(video_track_, "use another --codec, or see its --pix-fmt");
  video_track_.stream->sample_aspect_ratio = stage.sample_aspect;
  video_track_.stream->avg_frame_rate = encoder.framerate;
  video_track_.stream->r_frame_rate = encoder.framerate;
}

void MediaWriter::open_audio() {
  const AVCodec* codec = choose_audio_encoder(*output_->oformat, *video_track_.encoder->codec);
  if (codec == nullptr) {
    log_warning(name_ + ": this kind of file holds no sound; the result is silent");
    audio_ = nullptr;
    return;
  }
  audio_track_.encoder.reset(avcodec_alloc_context3(codec));
  AVCodecContext& encoder = *audio_track_.encoder;
  const int own_rate = audio_->format().rate;
  encoder.sample_rate = choose_sample_rate(*codec, own_rate);
  if (encoder.sample_rate != own_rate) {
    log_info(name_ + ": sound of " + std::to_string(own_rate) + " Hz is brought to " +
             std::to_string(encoder.sample_rate) + " for " + codec->name);
    audio_->set_rate(encoder.sample_rate);
  }
  encoder.sample_fmt = sample_format(*codec);
  av_channel_layout_default(&encoder.ch_layout, audio_->format().channels);
  encoder.time_base = {1, encoder.sample_rate};
  if (codec->id == AV_CODEC_ID_AAC) encoder.bit_rate = 96000 * encoder.ch_layout.nb_channels;
  add_stream(audio_track_, "use --no-audio, or another kind of file");
}

void MediaWriter::add_stream(Track& track, const char* remedy) {
  AVCodecContext& encoder = *track.encoder;
  if ((output_->oformat->flags & AVFMT_GLOBALHEADER) != 0) encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  const std::string name = encoder.codec->name;  // the codec is forgotten where it refuses
  if (const int code = avcodec_open2(&encoder, encoder.codec, nullptr); code < 0) {
    throw Failure(name_, "encoder " + name + " refuses: " + av_reason(code), remedy);
  }
  track.stream = avformat_new_stream(output_.get(), nullptr);
  if (track.stream == nullptr) throw std::bad_alloc();
  track.stream->time_base = encoder.time_base;
  avcodec_parameters_from_context(track.stream->codecpar, &encoder);
}

void MediaWriter::encode(Track& track, const AVFrame* frame) {
  av_check(avcodec_send_frame(track.encoder.get(), frame), name_, "cannot be encoded");
  while (true) {
    const int got = avcodec_receive_packet(track.encoder.get(), packet_.get());
    if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
    av_check(got, name_, "cannot be encoded");
    if (packet_->duration == 0 && &track == &video_track_) packet_->duration = 1;
    packet_->stream_index = track.stream->index;
    av_packet_rescale_ts(packet_.get(), track.encoder->time_base, track.stream->time_base);
    av_check(av_interleaved_write_frame(output_.get(), packet_.get()), name_, "cannot be written");
  }
}

void MediaWriter::write(const Frame& frame) {
  const AvOwner<AVFrame> picture = storer_->store(frame);
  picture->pts = frames_++;
  encode(video_track_, picture.get());
  if (audio_ != nullptr) write_audio_until(audio_->samples_before(frames_), false);
}

// Encodes whole blocks up to a sample; the last time the rest, too.
void MediaWriter::write_audio_until(int64_t sample, bool last) {
  AVCodecContext& encoder = *audio_track_.encoder;
  const int block = encoder.frame_size > 0 ? encoder.frame_size : kAudioBlock;
  while (samples_ + (last ? 1 : block) <= sample) {
    const AvOwner<AVFrame> sound = make_frame();
    sound->nb_samples = static_cast<int>(std::min<int64_t>(block, sample - samples_));
    sound->format = encoder.sample_fmt;
    sound->sample_rate = encoder.sample_rate;
    av_channel_layout_copy(&sound->ch_layout, &encoder.ch_layout);
    av_check(av_frame_get_buffer(sound.get(), 0), name_, "cannot hold sound");
    read_audio(*sound);
    sound->pts = samples_;
    samples_ += sound->nb_samples;
    encode(audio_track_, sound.get());
  }
}

void MediaWriter::read_audio(AVFrame& sound) {
  const auto count = static_cast<size_t>(sound.nb_samples);
  std::vector<std::vector<float>> mix(static_cast<size_t>(sound.ch_layout.nb_channels),
                                      std::vector<float>(count));
  std::vector<float*> channels;
  std::vector<const uint8_t*> samples;
  for (auto& channel : mix) {
    channels.push_back(channel.data());
    samples.push_back(reinterpret_cast<const uint8_t*>(channel.data()));
  }
  audio_->read(channels.data(), sound.nb_samples);
  if (!sound_converter_) {
    SwrContext* made = nullptr;
    av_check(swr_alloc_set_opts2(&made, &sound.ch_layout, static_cast<AVSampleFormat>(sound.format),
                                 sound.sample_rate, &sound.ch_layout, AV_SAMPLE_FMT_FLTP, sound.sample_rate,
                                 0, nullptr),
             name_, "cannot convert sound");
    sound_converter_.reset(made);
    av_check(swr_init(made), name_, "cannot convert sound");
  }
  av_check(swr_convert(sound_converter_.get(), sound.extended_data, sound.nb_samples, samples.data(),
                       sound.nb_samples),
           name_, "cannot convert sound");
}

void MediaWriter::finish() {
  if (audio_ != nullptr) write_audio_until(audio_->samples_before(frames_), true);
  encode(video_track_, nullptr);
  if (audio_ != nullptr) encode(audio_track_, nullptr);
  av_check(av_write_trailer(output_.get()), name_, "cannot be ended");
  avio_flush(output_->pb);
  if (output_->pb->error < 0)
    throw Failure(name_, "cannot be written: " + av_reason(output_->pb->error), "check the disk");
  av_check(avio_closep(&output_->pb), name_, "cannot be closed");
  if (file_) file_->keep();
}

std::string MediaWriter::description() const {
  std::string text = name_ + ": " + encoder_name(*video_track_.encoder->codec) + ", " +
                     av_get_pix_fmt_name(video_track_.encoder->pix_fmt);
  if (audio_ != nullptr) text += std::string(", ") + audio_track_.encoder->codec->name;
  return text;
}

}  // namespace dorfx
