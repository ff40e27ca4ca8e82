#include "dorfx/key_picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "dorfx/av.h"
#include "dorfx/errors.h"
#include "dorfx/log.h"
#include "dorfx/upright.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace dorfx {
namespace {

AvOwner<AVFrame> decode_first(const std::string& name) {
  const AvInput input = open_input(name);
  const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) throw Failure(name, "has no picture in it", "give a greyscale picture to --key");
  const AvOwner<AVCodecContext> codec = open_decoder(*input->streams[index], name);
  const AvOwner<AVPacket> packet = make_packet();
  AvOwner<AVFrame> picture = make_frame();
  while (true) {
    const int got = avcodec_receive_frame(codec.get(), picture.get());
    if (got >= 0) {
      Turner().turn(*picture, orientation_of(*picture, *input->streams[index]));
      return picture;
    }
    if (got != AVERROR(EAGAIN)) throw Failure(name, "no picture in it can be decoded", "check the file");
    const bool at_end = av_read_frame(input.get(), packet.get()) < 0;
    if (at_end || packet->stream_index == index)
      avcodec_send_packet(codec.get(), at_end ? nullptr : packet.get());
    av_packet_unref(packet.get());
  }
}

// RGB of any kind to 16 bits a channel; the libraries repeat the high bits below, so full stays full.
AvOwner<AVFrame> to_rgb48(const AVFrame& picture) {
  AvOwner<AVFrame> rgb = make_picture(picture.width, picture.height, AV_PIX_FMT_RGB48LE);
  const AvOwner<SwsContext> sws(sws_getContext(
      picture.width, picture.height, static_cast<AVPixelFormat>(picture.format), picture.width,
      picture.height, AV_PIX_FMT_RGB48LE, SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  if (!sws) throw Failure("key picture", "has a pixel format that cannot be read", "convert it to PNG first");
  sws_scale(sws.get(), picture.data, picture.linesize, 0, picture.height, rgb->data, rgb->linesize);
  return rgb;
}

// Component values of one row, unscaled.
void read_component(const AVFrame& picture, int y, int component, std::vector<uint16_t>& row) {
  const uint8_t* planes[4];
  std::copy_n(picture.data, 4, planes);
  av_read_image_line(row.data(), planes, picture.linesize,
                     av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format)), 0, y, component,
                     picture.width, 0);
}

// Grey values from 0 to 1.
Pattern to_grey(const AVFrame& decoded, KeyRange range) {
  constexpr uint64_t kColour = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL;
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(decoded.format));
  const bool is_colour = (format->flags & kColour) != 0;
  const AvOwner<AVFrame> converted = is_colour ? to_rgb48(decoded) : nullptr;
  const AVFrame& picture = converted ? *converted : decoded;
  const int depth = converted ? 16 : format->comp[0].depth;

  const double full = (1 << depth) - 1;
  const bool limited = range == KeyRange::kLimited && depth >= 8;
  const double low = limited ? 16 << (depth - 8) : 0, high = limited ? 235 << (depth - 8) : full;
  const auto normal = [&](double sample) { return std::clamp((sample - low) / (high - low), 0.0, 1.0); };
  constexpr std::array kWeights{0.299, 0.587, 0.114};

  Pattern pattern{picture.width, picture.height, {}};
  pattern.values.reserve(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height));
  std::array<std::vector<uint16_t>, 3> rows;
  for (auto& row : rows) row.resize(static_cast<size_t>(picture.width));
  for (int y = 0; y < picture.height; ++y) {
    for (int c = 0; c < (converted ? 3 : 1); ++c) read_component(picture, y, c, rows[static_cast<size_t>(c)]);
    for (size_t x = 0; x < rows[0].size(); ++x) {
      // Grey stored as colour is grey to the last bit, whatever the weights' sum.
      const bool is_grey = !converted || (rows[0][x] == rows[1][x] && rows[1][x] == rows[2][x]);
      const double sample =
          is_grey ? rows[0][x]
                  : kWeights[0] * rows[0][x] + kWeights[1] * rows[1][x] + kWeights[2] * rows[2][x];
      pattern.values.push_back(static_cast<float>(normal(sample)));
    }
  }
  return pattern;
}

struct Taps {
  int first = 0;
  std::vector<double> weights;
};

// A triangle as wide as the larger of the two pixels.
Taps taps_at(int position, int from_size, int to_size) {
  const double ratio = static_cast<double>(from_size) / to_size, radius = std::max(1.0, ratio);
  const double centre = (position + 0.5) * ratio - 0.5;
  Taps taps{std::max(0, static_cast<int>(std::ceil(centre - radius))), {}};
  const int last = std::min(from_size - 1, static_cast<int>(std::floor(centre + radius)));
  double sum = 0;
  for (int i = taps.first; i <= last; ++i) {
    taps.weights.push_back(std::max(0.0, 1 - std::fabs(i - centre) / radius));
    sum += taps.weights.back();
  }
  for (double& weight : taps.weights) weight /= sum;
  return taps;
}

template <class Value>
float weighted(const Taps& taps, Value value) {
  double sum = 0;
  for (size_t i = 0; i < taps.weights.size(); ++i)
    sum += taps.weights[i] * value(taps.first + static_cast<int>(i));
  return static_cast<float>(std::clamp(sum, 0.0, 1.0));
}

void warn_of_range(const AVFrame& picture, const std::string& name, KeyRange range) {
  if (range == KeyRange::kFull && picture.color_range == AVCOL_RANGE_MPEG) {
    log_warning(name +
                ": says that its range is 16 to 235; without --key-range limited neither end is reached");
  }
}

}  // namespace

Pattern resample(const Pattern& picture, int width, int height) {
  if (picture.width == width && picture.height == height) return picture;
  Pattern wide{width, picture.height, {}};
  wide.values.resize(static_cast<size_t>(width) * static_cast<size_t>(picture.height));
  for (int x = 0; x < width; ++x) {
    const Taps taps = taps_at(x, picture.width, width);
    for (int y = 0; y < picture.height; ++y) {
      wide.values[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
          weighted(taps, [&](int column) { return picture.at(column, y); });
    }
  }
  Pattern result{width, height, {}};
  result.values.reserve(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    const Taps taps = taps_at(y, picture.height, height);
    for (int x = 0; x < width; ++x) {
      result.values.push_back(weighted(taps, [&](int row) { return wide.at(x, row); }));
    }
  }
  return result;
}

Pattern load_key_picture(const std::string& name, KeyRange range, int width, int height) {
  const AvOwner<AVFrame> picture = decode_first(name);
  warn_of_range(*picture, name, range);
  return resample(to_grey(*picture, range), width, height);
}

}  // namespace dorfx
