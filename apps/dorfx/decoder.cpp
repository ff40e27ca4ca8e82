#include "dorfx/decoder.h"

#include <algorithm>
#include <cmath>

#include "dorfx/errors.h"
#include "dorfx/interrupt.h"
#include "dorfx/log.h"
#include "dorfx/scaler.h"
#include "dorfx/test_source.h"
#include "dorfx/upright.h"

namespace dorfx {
namespace {

struct Survey {
  int64_t pictures = 0;
  double seconds = 0;
  bool variable_rate = false;
};

int find_video(AVFormatContext& input, const std::string& name) {
  const int index = av_find_best_stream(&input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) throw Failure(name, "has no picture in it", "give a video clip or a picture");
  for (unsigned i = 0; i < input.nb_streams; ++i) {
    if (static_cast<int>(i) != index) input.streams[i]->discard = AVDISCARD_ALL;
  }
  return index;
}

Rate frame_rate(AVFormatContext& input, AVStream& stream) {
  AVRational rate = av_guess_frame_rate(&input, &stream, nullptr);
  if (rate.num <= 0 || rate.den <= 0 || av_q2d(rate) > 1000) rate = stream.avg_frame_rate;
  if (rate.num <= 0 || rate.den <= 0 || av_q2d(rate) > 1000) return {};
  return {rate.num, rate.den};
}

// What is known once all packets have passed.
class Surveyor {
 public:
  Surveyor(double rate, double tick) : rate_(rate), tick_(tick) {}

  void add(const AVPacket& packet) {
    ++found_.pictures;
    if (packet.pts == AV_NOPTS_VALUE) return;
    const double time = static_cast<double>(packet.pts) * tick_;
    const double length = packet.duration > 0 ? static_cast<double>(packet.duration) * tick_ : 1 / rate_;
    if (stamps_ == 0) first_ = time, end_ = time + length;
    first_ = std::min(first_, time);
    end_ = std::max(end_, time + length);
    const double slot = (time - first_) * rate_;
    deviation_ = std::max(deviation_, std::fabs(slot - std::round(slot)));
    ++stamps_;
  }

  Survey result() {
    found_.seconds = end_ - first_;
    const double counted = static_cast<double>(found_.pictures) / rate_;
    // Pictures without a stamp follow one another.
    if (stamps_ < found_.pictures) found_.seconds = std::max(found_.seconds, counted);
    // Stamps are rounded to the container's tick; beyond that, or where a slot has no picture or several,
    // the rate is not constant.
    found_.variable_rate = deviation_ > 0.02 + 1.5 * tick_ * rate_ ||
                           std::fabs(found_.seconds - counted) * rate_ > 0.5 + tick_ * rate_;
    return found_;
  }

 private:
  double rate_, tick_;
  Survey found_;
  int64_t stamps_ = 0;
  double first_ = 0, end_ = 0, deviation_ = 0;
};

Survey survey(const std::string& name, DamageNote& damage) {
  const AvInput input = open_input(name);
  AVStream& stream = *input->streams[find_video(*input, name)];
  const AvOwner<AVPacket> packet = make_packet();
  Surveyor surveyor(frame_rate(*input, stream).per_second(), av_q2d(stream.time_base));
  take_complaint();
  while (read_packet(*input, *packet, damage)) {
    throw_if_interrupted();
    const bool shown = packet->stream_index == stream.index && (packet->flags & AV_PKT_FLAG_DISCARD) == 0;
    if (shown) surveyor.add(*packet);
    av_packet_unref(packet.get());
  }
  // Some readers complain of a cut file, and then end it as if it were whole.
  if (const std::string reason = take_complaint(); !reason.empty()) damage.tell(reason);
  return surveyor.result();
}

class Decoder : public FrameSource {
 public:
  explicit Decoder(const std::string& name) : damage_(name) {
    info_.name = name;
    info_.has_file = true;
    const bool is_pipe = name == "-";
    Survey found;
    if (!is_pipe) found = survey(name, damage_);
    input_ = open_input(name);
    stream_ = input_->streams[find_video(*input_, name)];
    codec_ = open_decoder(*stream_, name);
    info_.rate = frame_rate(*input_, *stream_);
    if (!is_pipe) {
      info_.still = found.pictures == 1;
      info_.seconds = found.seconds;
      info_.variable_rate = !info_.still && found.variable_rate;
    }
    if (!look_ahead()) throw Failure(name, "no picture in it can be decoded", "check the file");
    info_.first_time = ahead_time_;
    describe();
  }

  const VideoInfo& info() const override { return info_; }

  bool next(AVFrame& picture, double& seconds) override {
    if (ahead_->buf[0] == nullptr) return false;
    seconds = std::max(0.0, ahead_time_ - info_.first_time);
    av_frame_unref(&picture);
    av_frame_move_ref(&picture, ahead_.get());
    look_ahead();
    return true;
  }

 private:
  bool decode(AVFrame& picture) {
    while (true) {
      throw_if_interrupted();
      const int got = avcodec_receive_frame(codec_.get(), &picture);
      if (got >= 0) {
        if (picture.decode_error_flags != 0 || (picture.flags & AV_FRAME_FLAG_CORRUPT) != 0) {
          damage_.tell("pictures are not whole");
        }
        return true;
      }
      if (got == AVERROR(ENOMEM)) throw std::bad_alloc();
      if (got == AVERROR_EOF) return false;
      if (got == AVERROR(EAGAIN)) {
        feed();
      } else {
        damage_.tell(av_reason(got));
      }
    }
  }

  // The stream's next packet, or the end, to the decoder.
  void feed() {
    while (read_packet(*input_, *packet_, damage_)) {
      const bool ours = packet_->stream_index == stream_->index;
      const int sent = ours ? avcodec_send_packet(codec_.get(), packet_.get()) : 0;
      av_packet_unref(packet_.get());
      if (sent < 0) damage_.tell(av_reason(sent));
      if (ours) return;
    }
    avcodec_send_packet(codec_.get(), nullptr);
  }

  bool look_ahead() {
    if (!decode(*ahead_)) return false;
    orientation_ = orientation_of(*ahead_, *stream_);
    turner_.turn(*ahead_, orientation_);
    const int64_t stamp = ahead_->best_effort_timestamp;
    ahead_time_ = stamp != AV_NOPTS_VALUE ? static_cast<double>(stamp) * av_q2d(stream_->time_base)
                                          : ahead_time_ + 1 / info_.rate.per_second();
    return true;
  }

  void describe() {
    AVFrame& first = *ahead_;
    info_.width = first.width;
    info_.height = first.height;
    const AVRational aspect = av_guess_sample_aspect_ratio(input_.get(), stream_, &first);
    if (aspect.num > 0 && aspect.den > 0) {
      info_.sample_aspect = orientation_.sides_swapped ? av_inv_q(aspect) : aspect;
    }
    info_.colours = colours_of(first);
    info_.bits = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(first.format))->comp[0].depth;
    info_.rgb = is_rgb(first.format);
    info_.order = turned(stored_order());
  }

  // Fields that lie on their side are none; upside down, the other one comes first.
  std::optional<FieldOrder> turned(std::optional<FieldOrder> order) const {
    if (!order || *order == FieldOrder::kProgressive) return order;
    if (orientation_.sides_swapped) {
      log_warning(info_.name + ": is interlaced and turned on its side; it is taken as whole frames");
      return FieldOrder::kProgressive;
    }
    if (!orientation_.mirrored_down || info_.height % 2 != 0) return order;
    return *order == FieldOrder::kTopFirst ? FieldOrder::kBottomFirst : FieldOrder::kTopFirst;
  }

  std::optional<FieldOrder> stored_order() const {
    if (ahead_->interlaced_frame != 0) {
      return ahead_->top_field_first != 0 ? FieldOrder::kTopFirst : FieldOrder::kBottomFirst;
    }
    switch (stream_->codecpar->field_order) {
      case AV_FIELD_TT:
      case AV_FIELD_BT:
        return FieldOrder::kTopFirst;
      case AV_FIELD_BB:
      case AV_FIELD_TB:
        return FieldOrder::kBottomFirst;
      case AV_FIELD_PROGRESSIVE:
        return FieldOrder::kProgressive;
      default:
        return {};
    }
  }

  VideoInfo info_;
  AvInput input_;
  AVStream* stream_ = nullptr;
  AvOwner<AVCodecContext> codec_;
  AvOwner<AVPacket> packet_ = make_packet();
  AvOwner<AVFrame> ahead_ = make_frame();
  Orientation orientation_;
  Turner turner_;
  double ahead_time_ = 0;
  DamageNote damage_;
};

}  // namespace

std::unique_ptr<FrameSource> open_decoder_source(const std::string& name) {
  return std::make_unique<Decoder>(name);
}

std::unique_ptr<FrameSource> open_source(const std::string& name) {
  return is_test_source(name) ? make_test_source(name) : open_decoder_source(name);
}

}  // namespace dorfx
