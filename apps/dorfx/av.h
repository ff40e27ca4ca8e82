// The FFmpeg libraries: owners for what they hand out, and their errors as failures.
#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/pixdesc.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace dorfx {

struct AvRelease {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(SwsContext* context) const { sws_freeContext(context); }
  void operator()(SwrContext* context) const { swr_free(&context); }
  void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
template <class T>
using AvOwner = std::unique_ptr<T, AvRelease>;

struct CloseInput {
  void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};
using AvInput = std::unique_ptr<AVFormatContext, CloseInput>;

AvOwner<AVFrame> make_frame();
AvOwner<AVFrame> make_picture(int width, int height, AVPixelFormat format);
AvOwner<AVPacket> make_packet();

// The text of an error code; where the libraries gave a reason of their own, that reason.
std::string av_reason(int code);

// The libraries' last complaint since this was last called; empty: none.
std::string take_complaint();

// Throws Failure(subject, "action: reason") if code is negative; else returns it.
int av_check(int code, const std::string& subject, const std::string& action);

// From here on the libraries print nothing; their last complaint is kept for av_reason.
void capture_av_messages();

// Opens a container and reads its streams' headers. Text art, which they would render, is refused.
AvInput open_input(const std::string& name);

// Says once that a clip's pictures, or its sound, are damaged, however often it is told.
class DamageNote {
 public:
  // what: "", or the part of the clip that is meant.
  explicit DamageNote(std::string name, std::string what = {})
      : name_(std::move(name)), what_(std::move(what)) {}
  void tell(const std::string& reason);

 private:
  std::string name_, what_;
  bool told_ = false;
};

// The next packet; false at the end. An error of reading ends the clip, too, and is named.
bool read_packet(AVFormatContext& input, AVPacket& packet, DamageNote& damage);

// Opens a decoder for a stream.
AvOwner<AVCodecContext> open_decoder(const AVStream& stream, const std::string& name);

}  // namespace dorfx
