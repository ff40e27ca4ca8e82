// How far the work is: one line for people, key=value lines for programs.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "dorfx/output_file.h"
#include "dorfx/values.h"

namespace dorfx {

class Progress {
 public:
  // target: a file, "-" for standard output, or empty. Throws Failure, as check_overwrite does.
  Progress(const std::string& target, Overwrite overwrite, int64_t total, Rate rate);

  // After each frame; tells at most twice a second.
  void update(int64_t frames);
  void end(int64_t frames);

 private:
  void report(int64_t frames, const char* state);

  struct Close {
    void operator()(std::FILE* file) const {
      if (file != stdout) std::fclose(file);
    }
  };
  using Clock = std::chrono::steady_clock;

  std::unique_ptr<std::FILE, Close> file_;
  int64_t total_;
  Rate rate_;
  Clock::time_point start_ = Clock::now(), told_ = start_;
};

}  // namespace dorfx
