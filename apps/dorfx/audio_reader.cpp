#include "dorfx/audio_reader.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "dorfx/errors.h"

namespace dorfx {
namespace {

// Stamps of compressed sound jitter by less; a larger gap is silence.
constexpr double kGap = 0.1;

AVChannelLayout layout_of(int channels) {
  AVChannelLayout layout{};
  av_channel_layout_default(&layout, channels);
  return layout;
}

}  // namespace

std::unique_ptr<AudioReader> AudioReader::open(const std::string& name, double first_time) {
  AvInput input = open_input(name);
  const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0) return nullptr;
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    if (static_cast<int>(i) != index) input->streams[i]->discard = AVDISCARD_ALL;
  }
  AVStream& stream = *input->streams[index];
  return std::unique_ptr<AudioReader>(new AudioReader(name, std::move(input), stream, first_time));
}

AudioReader::AudioReader(const std::string& name, AvInput input, AVStream& stream, double first_time)
    : name_(name),
      input_(std::move(input)),
      stream_(stream),
      codec_(open_decoder(stream, name)),
      own_format_{codec_->sample_rate, std::min(codec_->ch_layout.nb_channels, 2)},
      first_time_(first_time),
      damage_(name, "its sound ") {
  if (own_format_.rate <= 0 || own_format_.channels <= 0) {
    throw Failure(name, "its sound has no sample rate or no channels", "use --no-audio");
  }
}

void AudioReader::convert_to(AudioFormat format) {
  format_ = format;
  ready_.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, format.channels, format.rate));
  if (!ready_) throw std::bad_alloc();
}

void AudioReader::read(float* const* channels, int count) {
  while (av_audio_fifo_size(ready_.get()) < count && !ended_) ended_ = !decode();
  auto* data = const_cast<float**>(channels);
  const int got = av_audio_fifo_read(ready_.get(), reinterpret_cast<void**>(data), count);
  for (int c = 0; c < format_.channels; ++c)
    std::fill(channels[c] + std::max(got, 0), channels[c] + count, 0.0f);
}

// One more piece of sound into the queue; false at the end.
bool AudioReader::decode() {
  while (true) {
    const int got = avcodec_receive_frame(codec_.get(), sound_.get());
    if (got >= 0) {
      const bool first = !converter_;
      if (first || !is_taken(*sound_)) set_up_converter(*sound_);
      if (first) line_up(*sound_);
      resample(sound_.get());
      return true;
    }
    if (got == AVERROR_EOF) {
      if (converter_) resample(nullptr);
      return false;
    }
    if (got != AVERROR(EAGAIN)) {
      damage_.tell(av_reason(got));
      continue;
    }
    const bool at_end = !read_packet(*input_, *packet_, damage_);
    if (at_end || packet_->stream_index == stream_.index) {
      const int sent = avcodec_send_packet(codec_.get(), at_end ? nullptr : packet_.get());
      if (!at_end && sent < 0) damage_.tell(av_reason(sent));
    }
    av_packet_unref(packet_.get());
  }
}

// Whether the converter was set up for such samples. Broadcast streams change them on the way.
bool AudioReader::is_taken(const AVFrame& sound) const {
  return sound.format == taken_->format && sound.sample_rate == taken_->sample_rate &&
         av_channel_layout_compare(&sound.ch_layout, &taken_->ch_layout) == 0;
}

void AudioReader::set_up_converter(const AVFrame& sound) {
  if (converter_) resample(nullptr);
  AVChannelLayout from = sound.ch_layout, to = layout_of(format_.channels);
  if (from.order == AV_CHANNEL_ORDER_UNSPEC) from = layout_of(from.nb_channels);
  SwrContext* made = nullptr;
  av_check(swr_alloc_set_opts2(&made, &to, AV_SAMPLE_FMT_FLTP, format_.rate, &from,
                               static_cast<AVSampleFormat>(sound.format), sound.sample_rate, 0, nullptr),
           name_, "cannot convert its sound");
  converter_.reset(made);
  // One channel is heard as loud from two as players play it.
  constexpr double kBoth[] = {1, 1};
  if (from.nb_channels == 1 && format_.channels == 2) swr_set_matrix(made, kBoth, 1);
  av_check(swr_init(made), name_, "cannot convert its sound");
  taken_->format = sound.format;
  taken_->sample_rate = sound.sample_rate;
  av_check(av_channel_layout_copy(&taken_->ch_layout, &sound.ch_layout), name_, "cannot convert its sound");
}

// Puts the first sample at its time after the first picture.
void AudioReader::line_up(const AVFrame& sound) {
  if (sound.pts == AV_NOPTS_VALUE) return;
  const double late = static_cast<double>(sound.pts) * av_q2d(stream_.time_base) - first_time_;
  const int64_t samples = std::llround(late * format_.rate);
  if (samples < 0) drop_ = -samples;
  put_silence(samples);
}

void AudioReader::put_silence(int64_t samples) {
  std::vector<float> zeros(static_cast<size_t>(format_.rate), 0.0f);
  std::vector<void*> channels(static_cast<size_t>(format_.channels), zeros.data());
  for (; samples > 0; samples -= format_.rate) {
    const int part = static_cast<int>(std::min<int64_t>(samples, format_.rate));
    put_ += av_audio_fifo_write(ready_.get(), channels.data(), part);
  }
}

void AudioReader::resample(const AVFrame* sound) {
  if (sound != nullptr && sound->pts != AV_NOPTS_VALUE) {
    // What the converter still holds has been decoded, too.
    const double here =
        static_cast<double>(put_ - drop_ + swr_get_delay(converter_.get(), format_.rate)) / format_.rate;
    const double gap = static_cast<double>(sound->pts) * av_q2d(stream_.time_base) - first_time_ - here;
    if (gap > kGap) put_silence(std::llround(gap * format_.rate));
  }
  const int room = swr_get_out_samples(converter_.get(), sound != nullptr ? sound->nb_samples : 0);
  if (room <= 0) return;
  std::vector<std::vector<float>> samples(static_cast<size_t>(format_.channels),
                                          std::vector<float>(static_cast<size_t>(room)));
  std::vector<uint8_t*> channels;
  for (auto& channel : samples) channels.push_back(reinterpret_cast<uint8_t*>(channel.data()));
  const int made = swr_convert(converter_.get(), channels.data(), room,
                               sound != nullptr ? const_cast<const uint8_t**>(sound->extended_data) : nullptr,
                               sound != nullptr ? sound->nb_samples : 0);
  if (made <= 0) return;
  const int64_t dropped = std::min<int64_t>(drop_, made);
  drop_ -= dropped;
  for (auto& channel : channels) channel += dropped * static_cast<int64_t>(sizeof(float));
  put_ += av_audio_fifo_write(ready_.get(), reinterpret_cast<void**>(channels.data()),
                              static_cast<int>(made - dropped));
}

}  // namespace dorfx
