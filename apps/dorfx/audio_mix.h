// The sound of the result: each clip's, cross-faded with the pictures.
#pragma once

#include <memory>
#include <vector>

#include "dorfx/audio_reader.h"
#include "dorfx/timeline.h"
#include "dorfx/values.h"

namespace dorfx {

class AudioMix {
 public:
  // readers: one per clip of the timeline, null for a silent one; not all are. Takes the first one's
  // sample rate and the most channels of all.
  AudioMix(const Timeline& timeline, Rate rate, std::vector<std::unique_ptr<AudioReader>> readers);

  AudioFormat format() const { return format_; }

  // Before the first read: another sample rate than the first clip's.
  void set_rate(int rate);

  // Samples before a frame of the result.
  int64_t samples_before(int64_t frame) const;

  // The next `count` samples, planar.
  void read(float* const* channels, int count);

 private:
  // The weight of a clip: fades in from start to full, out from fading to end, in straight lines.
  struct Envelope {
    int64_t start, full, fading, end;
    float at(int64_t place) const;
  };
  struct Voice {
    std::unique_ptr<AudioReader> reader;
    Envelope frames;
  };

  Envelope in_samples(const Envelope& frames) const;
  void add(Voice& voice, float* const* channels, int count);

  Rate rate_;
  AudioFormat format_;
  std::vector<Voice> voices_;
  std::vector<std::vector<float>> scratch_;
  int64_t position_ = 0;
};

}  // namespace dorfx
