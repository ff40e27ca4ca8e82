#include "dorfx/progress.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>

#include "dorfx/errors.h"
#include "dorfx/log.h"

namespace dorfx {
namespace {

constexpr std::chrono::milliseconds kInterval{500};

}  // namespace

Progress::Progress(const std::string& target, Overwrite overwrite, int64_t total, Rate rate)
    : total_(total), rate_(rate) {
  if (target.empty()) return;
  if (target != "-") check_overwrite(target, overwrite);
  file_.reset(target == "-" ? stdout : std::fopen(target.c_str(), "w"));
  if (!file_)
    throw Failure(target, std::string("cannot be written: ") + std::strerror(errno), "check --progress");
}

void Progress::update(int64_t frames) {
  if (Clock::now() - told_ < kInterval) return;
  told_ = Clock::now();
  report(frames, "continue");
}

void Progress::end(int64_t frames) {
  report(frames, "end");
  show_status("");
}

void Progress::report(int64_t frames, const char* state) {
  const double spent = std::max(1e-6, std::chrono::duration<double>(Clock::now() - start_).count());
  const double seconds = static_cast<double>(frames) / rate_.per_second();
  const double fps = static_cast<double>(frames) / spent;
  if (file_) {
    const auto us = static_cast<int64_t>(seconds * 1e6);
    std::fprintf(file_.get(),
                 "frame=%" PRId64 "\nfps=%.2f\ntotal_frames=%" PRId64 "\nout_time_us=%" PRId64
                 "\nout_time=%02" PRId64 ":%02" PRId64 ":%02" PRId64 ".%06" PRId64
                 "\nspeed=%.3gx\nprogress=%s\n",
                 frames, fps, total_, us, us / 3600000000, us / 60000000 % 60, us / 1000000 % 60,
                 us % 1000000, seconds / spent, state);
    std::fflush(file_.get());
  }
  char line[128];
  std::snprintf(line, sizeof line, "frame %" PRId64 " of %" PRId64 " (%d %%), %.1f fps", frames, total_,
                static_cast<int>(100 * frames / std::max<int64_t>(total_, 1)), fps);
  show_status(line);
}

}  // namespace dorfx
