#include "dorfx/timeline.h"

#include "dorfx/errors.h"

namespace dorfx {
namespace {

std::string frames(int64_t count) {
  return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

}  // namespace

Timeline::Timeline(std::vector<ClipSpan> clips, int64_t duration, std::optional<int64_t> offset)
    : clips_(std::move(clips)) {
  if (duration < 1) throw UsageError("--duration", "is shorter than one frame", "give at least 1f");
  for (size_t i = 0; i + 1 < clips_.size(); ++i) {
    ClipSpan& clip = clips_[i];
    const bool has_offset = i == 0 && offset.has_value();
    // A clip between two transitions is seen alone, if only for an instant.
    const int64_t earliest = i == 0 ? 0 : duration;
    int64_t start = has_offset ? *offset : clip.length - duration;
    if (clip.still) {
      start = std::max(start, earliest);
      clip.length = start + duration;
    }
    if (has_offset && start + duration > clip.length) {
      throw Failure(clip.name,
                    "--offset " + frames(start) + " and --duration " + frames(duration) +
                        " reach past the clip's end at " + frames(clip.length),
                    "use an offset of at most " + frames(std::max<int64_t>(clip.length - duration, 0)));
    }
    if (start < earliest) {
      throw Failure(clip.name,
                    "lasts " + frames(clip.length) + ", its transitions need " + frames(earliest + duration),
                    "use a shorter --duration");
    }
    joints_.push_back({clip.start + start, duration});
    clips_[i + 1].start = joints_.back().start;
  }
  ClipSpan& last = clips_.back();
  if (last.still) last.length = std::max(last.length, duration + 1);
  if (last.length < duration) {
    throw Failure(last.name, "lasts " + frames(last.length) + ", its transition needs " + frames(duration),
                  "use a shorter --duration");
  }
}

Timeline::Place Timeline::at(int64_t frame) const {
  for (size_t i = 0; i < joints_.size(); ++i) {
    if (frame < joints_[i].start) return {i, false, 0};
    if (frame < joints_[i].end()) return {i, true, frame - joints_[i].start};
  }
  return {clips_.size() - 1, false, 0};
}

double Timeline::progress(int64_t since_start, double delay) const {
  return (static_cast<double>(since_start) + delay) / static_cast<double>(joints_.front().length);
}

}  // namespace dorfx
