// Which codecs and pixel format an output gets.
#pragma once

#include <string>

#include "dorfx/av.h"
#include "dorfx/stage.h"

namespace dorfx {

// The container for a file name; y4m for "-". Throws UsageError for a name that tells none.
const AVOutputFormat& choose_container(const std::string& name);

// The encoder asked for, by codec or encoder name, or the container's usual one. name: of the file, for the
// message. Throws UsageError.
const AVCodec& choose_video_encoder(const AVOutputFormat& container, const std::string& asked,
                                    const std::string& name);

// The pixel format asked for, or the one that keeps most and that players know. Throws UsageError.
AVPixelFormat choose_pixel_format(const AVCodec& encoder, const AVOutputFormat& container, const Stage& stage,
                                  const std::string& asked);

// Uncompressed beside lossless video, the container's usual one else; null where it takes no sound.
const AVCodec* choose_audio_encoder(const AVOutputFormat& container, const AVCodec& video);

// The sample rate asked for, or the next one that the encoder takes.
int choose_sample_rate(const AVCodec& encoder, int asked);

// Whether the encoder takes fields of a frame of so many lines apart; one that does not refuses to be told.
bool codes_fields(AVCodecID codec, int height);

// Whether readers will find the order of interlaced fields, in the container or in the coded video.
bool keeps_field_order(const AVOutputFormat& container, AVCodecID codec, int height);

// The encoder's name for people.
const char* encoder_name(const AVCodec& encoder);

bool is_lossless(AVCodecID codec);

}  // namespace dorfx
