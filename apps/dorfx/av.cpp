#include "dorfx/av.h"

#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <utility>

#include "dorfx/errors.h"
#include "dorfx/log.h"

namespace dorfx {
namespace {

std::mutex complaint_lock;
std::string complaint;

void keep_complaint(void* source, int level, const char* format, va_list arguments) {
  if (level > AV_LOG_ERROR) return;
  char line[256];
  int prefix = 0;
  av_log_format_line(source, level, format, arguments, line, sizeof line, &prefix);
  std::string text = line;
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  // "[name @ 0x55...] reason": the address means nothing to a reader.
  if (const size_t end = text.find("] "); text.starts_with('[') && end != std::string::npos) {
    text.erase(0, end + 2);
  }
  const std::lock_guard guard(complaint_lock);
  if (!text.empty()) complaint = text;
}

template <class T>
T* required(T* pointer) {
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}

bool is_text_art(const AVInputFormat& format) {
  for (const char* name : {"tty", "bin", "xbin", "adf", "idf"}) {
    if (std::strcmp(format.name, name) == 0) return true;
  }
  return false;
}

}  // namespace

AvOwner<AVFrame> make_frame() {
  return AvOwner<AVFrame>(required(av_frame_alloc()));
}

AvOwner<AVFrame> make_picture(int width, int height, AVPixelFormat format) {
  AvOwner<AVFrame> frame = make_frame();
  frame->width = width;
  frame->height = height;
  frame->format = format;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

AvOwner<AVPacket> make_packet() {
  return AvOwner<AVPacket>(required(av_packet_alloc()));
}

std::string av_reason(int code) {
  const std::lock_guard guard(complaint_lock);
  if (!complaint.empty() &&
      (code == AVERROR(EINVAL) || code == AVERROR_EXTERNAL || code == AVERROR_UNKNOWN)) {
    return complaint;
  }
  char text[AV_ERROR_MAX_STRING_SIZE];
  av_strerror(code, text, sizeof text);
  return text;
}

std::string take_complaint() {
  const std::lock_guard guard(complaint_lock);
  return std::exchange(complaint, {});
}

int av_check(int code, const std::string& subject, const std::string& action) {
  if (code < 0) throw Failure(subject, action + ": " + av_reason(code));
  return code;
}

void capture_av_messages() {
  av_log_set_callback(keep_complaint);
}

AvInput open_input(const std::string& name) {
  // The name of a file is taken as it is, whatever colons and percent signs are in it.
  std::error_code ignored;
  const bool is_file = std::filesystem::exists(name, ignored);
  const std::string url = name == "-" ? "pipe:0" : is_file ? "file:" + name : name;
  AVDictionary* settings = nullptr;
  if (is_file) av_dict_set(&settings, "pattern_type", "none", 0);
  AVFormatContext* opened = nullptr;
  const int code = avformat_open_input(&opened, url.c_str(), nullptr, &settings);
  av_dict_free(&settings);
  if (code == AVERROR_INVALIDDATA) {
    throw Failure(name, "is no clip or picture of a known kind", "check the file");
  }
  if (code < 0) throw Failure(name, "cannot be opened: " + av_reason(code), "check the name and its rights");
  AvInput input(opened);
  if (is_text_art(*input->iformat)) {
    throw Failure(name, "is text, not a clip or picture", "check the file");
  }
  av_check(avformat_find_stream_info(input.get(), nullptr), name, "cannot read its streams");
  return input;
}

void DamageNote::tell(const std::string& reason) {
  if (!told_) log_warning(name_ + ": " + what_ + "is damaged: " + reason);
  told_ = true;
}

bool read_packet(AVFormatContext& input, AVPacket& packet, DamageNote& damage) {
  const int got = av_read_frame(&input, &packet);
  if (got < 0 && got != AVERROR_EOF) damage.tell("cannot be read to its end, " + av_reason(got));
  return got >= 0;
}

AvOwner<AVCodecContext> open_decoder(const AVStream& stream, const std::string& name) {
  const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  if (codec == nullptr) {
    throw Failure(name, std::string("no decoder for ") + avcodec_get_name(stream.codecpar->codec_id),
                  "convert the clip first");
  }
  AvOwner<AVCodecContext> decoder(required(avcodec_alloc_context3(codec)));
  av_check(avcodec_parameters_to_context(decoder.get(), stream.codecpar), name, "cannot set up its decoder");
  decoder->pkt_timebase = stream.time_base;
  decoder->thread_count = 0;
  av_check(avcodec_open2(decoder.get(), codec, nullptr), name, "cannot open its decoder");
  return decoder;
}

}  // namespace dorfx
