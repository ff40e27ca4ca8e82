#include "dorfx/sheet.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>

#include "dorfx/errors.h"
#include "dorfx/frame_storer.h"

namespace dorfx {
namespace {

constexpr int kTileWidth = 320, kGap = 4, kGround = 40;

}  // namespace

std::vector<int64_t> sheet_frames(const Timeline& timeline, int count) {
  std::vector<int64_t> frames;
  for (const Joint& joint : timeline.joints()) {
    const int64_t steps = std::min<int64_t>(count - 1, joint.length);
    for (int64_t k = 0; k <= steps; ++k) {
      const int64_t since = steps == 0 ? joint.length / 2 : (2 * k * joint.length + steps) / (2 * steps);
      const int64_t frame = std::min(joint.start + since, timeline.length() - 1);
      if (frames.empty() || frames.back() < frame) frames.push_back(frame);
    }
  }
  return frames;
}

ContactSheet::ContactSheet(const Stage& stage, int columns) : stage_(stage), columns_(columns) {
  tile_width_ = std::min(kTileWidth, stage.width);
  const double shape = av_q2d(stage.sample_aspect) * stage.width / stage.height;
  tile_height_ = std::clamp(static_cast<int>(std::lround(tile_width_ / shape)), 1, 4 * kTileWidth);
}

void ContactSheet::add(const Frame& frame) {
  const AVPixelFormat samples = stage_.format == BMP_FORMAT_RGB32 ? AV_PIX_FMT_BGR0 : AV_PIX_FMT_YUV422P;
  const AvOwner<AVFrame> picture = FrameStorer(stage_, samples).store(frame);
  const Scaler::Target target{tile_width_, tile_height_, AV_PIX_FMT_RGB24, stage_.colours};
  tiles_.emplace_back(av_frame_clone(&scaler_.convert(*picture, stage_.colours, target, false)));
}

void ContactSheet::save(const std::string& path) const {
  const int count = static_cast<int>(tiles_.size()), columns = std::min(columns_, count);
  const int rows = (count + columns - 1) / columns;
  AvOwner<AVFrame> canvas = make_picture(columns * (tile_width_ + kGap) + kGap,
                                         rows * (tile_height_ + kGap) + kGap, AV_PIX_FMT_RGB24);
  std::memset(canvas->data[0], kGround,
              static_cast<size_t>(canvas->linesize[0]) * static_cast<size_t>(canvas->height));
  for (int i = 0; i < count; ++i) {
    const int left = kGap + i % columns * (tile_width_ + kGap),
              top = kGap + i / columns * (tile_height_ + kGap);
    const AVFrame& tile = *tiles_[static_cast<size_t>(i)];
    for (int y = 0; y < tile_height_; ++y) {
      std::memcpy(canvas->data[0] + static_cast<ptrdiff_t>(top + y) * canvas->linesize[0] + left * 3,
                  tile.data[0] + static_cast<ptrdiff_t>(y) * tile.linesize[0],
                  static_cast<size_t>(tile_width_) * 3);
    }
  }

  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (codec == nullptr) throw Failure(path, "there is no PNG encoder", "leave out --sheet");
  const AvOwner<AVCodecContext> encoder(avcodec_alloc_context3(codec));
  encoder->width = canvas->width;
  encoder->height = canvas->height;
  encoder->pix_fmt = AV_PIX_FMT_RGB24;
  encoder->time_base = {1, 25};
  const AvOwner<AVPacket> packet = make_packet();
  av_check(avcodec_open2(encoder.get(), codec, nullptr), path, "cannot be encoded");
  av_check(avcodec_send_frame(encoder.get(), canvas.get()), path, "cannot be encoded");
  av_check(avcodec_send_frame(encoder.get(), nullptr), path, "cannot be encoded");
  av_check(avcodec_receive_packet(encoder.get(), packet.get()), path, "cannot be encoded");
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(packet->data), packet->size);
  if (!file.flush()) throw Failure(path, "cannot be written", "check the disk");
}

}  // namespace dorfx
