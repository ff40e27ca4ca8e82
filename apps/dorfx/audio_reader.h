// The sound of one clip, from its first picture on.
#pragma once

#include <memory>
#include <string>

#include "dorfx/av.h"

namespace dorfx {

struct AudioFormat {
  int rate = 0;
  int channels = 0;  // 1 or 2
};

class AudioReader {
 public:
  // Null where the file has no sound. first_time: of the first picture, seconds on the file's clock.
  static std::unique_ptr<AudioReader> open(const std::string& name, double first_time);

  AudioFormat format() const { return own_format_; }

  // Before the first read: what read() gives, planar float samples.
  void convert_to(AudioFormat format);

  // The next `count` samples of each channel; silence where there are none.
  void read(float* const* channels, int count);

 private:
  AudioReader(const std::string& name, AvInput input, AVStream& stream, double first_time);
  bool decode();
  bool is_taken(const AVFrame& sound) const;
  void set_up_converter(const AVFrame& sound);
  void resample(const AVFrame* sound);
  void line_up(const AVFrame& sound);
  void put_silence(int64_t samples);

  std::string name_;
  AvInput input_;
  AVStream& stream_;
  AvOwner<AVCodecContext> codec_;
  AvOwner<SwrContext> converter_;
  AvOwner<AVAudioFifo> ready_;
  AvOwner<AVPacket> packet_ = make_packet();
  AvOwner<AVFrame> sound_ = make_frame();
  AvOwner<AVFrame> taken_ = make_frame();  // without samples: the format, rate and channels being converted
  AudioFormat own_format_, format_;
  double first_time_;
  int64_t put_ = 0;   // samples put into ready_ so far
  int64_t drop_ = 0;  // samples before the first picture, still to be left out
  DamageNote damage_;
  bool ended_ = false;
};

}  // namespace dorfx
