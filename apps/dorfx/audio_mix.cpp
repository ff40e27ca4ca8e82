#include "dorfx/audio_mix.h"

#include <algorithm>
#include <cmath>

namespace dorfx {

AudioMix::AudioMix(const Timeline& timeline, Rate rate, std::vector<std::unique_ptr<AudioReader>> readers)
    : rate_(rate) {
  for (const auto& reader : readers) {
    if (!reader) continue;
    if (format_.rate == 0) format_.rate = reader->format().rate;
    format_.channels = std::max(format_.channels, reader->format().channels);
  }
  scratch_.resize(static_cast<size_t>(format_.channels));
  const std::vector<Joint>& joints = timeline.joints();
  for (size_t i = 0; i < readers.size(); ++i) {
    if (!readers[i]) continue;
    const bool first = i == 0, last = i == joints.size();
    const int64_t start = timeline.clips()[i].start, end = last ? timeline.length() : joints[i].end();
    voices_.push_back({std::move(readers[i]),
                       {start, first ? start : joints[i - 1].end(), last ? end : joints[i].start, end}});
  }
  set_rate(format_.rate);
}

void AudioMix::set_rate(int rate) {
  format_.rate = rate;
  for (Voice& voice : voices_) voice.reader->convert_to(format_);
}

int64_t AudioMix::samples_before(int64_t frame) const {
  return av_rescale(frame, int64_t{format_.rate} * rate_.den, rate_.num);
}

AudioMix::Envelope AudioMix::in_samples(const Envelope& frames) const {
  return {samples_before(frames.start), samples_before(frames.full), samples_before(frames.fading),
          samples_before(frames.end)};
}

float AudioMix::Envelope::at(int64_t place) const {
  const auto share = [](int64_t part, int64_t whole) {
    return static_cast<float>(static_cast<double>(part) / static_cast<double>(whole));
  };
  if (place < full) return share(place - start, full - start);
  if (place >= fading) return share(end - place, end - fading);
  return 1;
}

void AudioMix::read(float* const* channels, int count) {
  for (int c = 0; c < format_.channels; ++c) std::fill_n(channels[c], count, 0.0f);
  for (Voice& voice : voices_) add(voice, channels, count);
  position_ += count;
}

void AudioMix::add(Voice& voice, float* const* channels, int count) {
  const Envelope envelope = in_samples(voice.frames);
  const int64_t first = std::max(envelope.start, position_), last = std::min(envelope.end, position_ + count);
  if (first >= last) return;
  const auto samples = static_cast<int>(last - first);
  std::vector<float*> own;
  for (auto& channel : scratch_) {
    channel.resize(static_cast<size_t>(samples));
    own.push_back(channel.data());
  }
  voice.reader->read(own.data(), samples);
  for (size_t c = 0; c < own.size(); ++c) {
    float* to = channels[c] + (first - position_);
    for (int i = 0; i < samples; ++i) to[i] += own[c][i] * envelope.at(first + i);
  }
}

}  // namespace dorfx
