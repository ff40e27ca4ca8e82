// The encoded result.
#pragma once

#include <memory>
#include <string>

#include "dorfx/audio_mix.h"
#include "dorfx/frame.h"
#include "dorfx/frame_storer.h"
#include "dorfx/output_file.h"
#include "dorfx/stage.h"

namespace dorfx {

struct WriterSettings {
  std::string name;                 // "-": y4m on standard output
  std::string codec, pixel_format;  // empty: chosen by the name
  Overwrite overwrite = Overwrite::kAsk;
};

class MediaWriter {
 public:
  // audio may be null; it is read as the frames are written.
  MediaWriter(const WriterSettings& settings, const Stage& stage, AudioMix* audio);
  ~MediaWriter();

  void write(const Frame& frame);

  // Ends the file and gives it its name. Without it nothing is left behind.
  void finish();

  int64_t frames() const { return frames_; }
  std::string description() const;

 private:
  struct Track {
    AvOwner<AVCodecContext> encoder;
    AVStream* stream = nullptr;
  };
  struct CloseOutput {
    void operator()(AVFormatContext* output) const;
  };

  void open_video(const WriterSettings& settings, const Stage& stage);
  void open_audio();
  void add_stream(Track& track, const char* remedy);
  void encode(Track& track, const AVFrame* frame);
  void write_audio_until(int64_t sample, bool last);
  void read_audio(AVFrame& sound);

  std::string name_;
  std::unique_ptr<OutputFile> file_;
  std::unique_ptr<AVFormatContext, CloseOutput> output_;
  AudioMix* audio_;
  Track video_track_, audio_track_;
  std::unique_ptr<FrameStorer> storer_;
  AvOwner<SwrContext> sound_converter_;  // the mix's float samples to the encoder's
  AvOwner<AVPacket> packet_ = make_packet();
  int64_t frames_ = 0, samples_ = 0;
};

}  // namespace dorfx
