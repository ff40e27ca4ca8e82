// Which frames of which clips make up each frame of the result.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dorfx {

// A clip on the timeline; everything in frames of the result's rate.
struct ClipSpan {
  std::string name;
  int64_t length = 0;
  bool still = false;  // a picture lasts as long as it must
  int64_t start = 0;   // in the result; set by the timeline
};

// Where one clip goes over into the next.
struct Joint {
  int64_t start = 0;
  int64_t length = 0;
  int64_t end() const { return start + length; }
};

class Timeline {
 public:
  // Each transition lasts `duration` frames and by default ends with its first clip; `offset` starts the
  // first one earlier, on the first clip's time. The last clip plays to its end. Throws Failure where a clip
  // is too short.
  Timeline(std::vector<ClipSpan> clips, int64_t duration, std::optional<int64_t> offset);

  struct Place {
    size_t clip = 0;          // the clip seen, or left
    bool in_joint = false;    // going over into clip + 1
    int64_t since_start = 0;  // frames since the joint's start
  };
  // frame: 0 to length() - 1.
  Place at(int64_t frame) const;

  // Progress of the joint, `since_start` frames and `delay` of a frame after its start: 0 at its start, 1 at
  // the first frame that is the second clip's alone.
  double progress(int64_t since_start, double delay) const;

  int64_t length() const { return clips_.back().start + clips_.back().length; }
  const std::vector<ClipSpan>& clips() const { return clips_; }
  const std::vector<Joint>& joints() const { return joints_; }

 private:
  std::vector<ClipSpan> clips_;
  std::vector<Joint> joints_;
};

}  // namespace dorfx
