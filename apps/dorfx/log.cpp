#include "dorfx/log.h"

#include <unistd.h>

#include <cstdio>

namespace dorfx {
namespace {

LogLevel shown = LogLevel::kInfo;
bool status_is_shown = false;

void print(LogLevel level, const char* kind, const std::string& message) {
  if (level > shown) return;
  show_status("");
  std::fprintf(stderr, "dorfx: %s%s\n", kind, message.c_str());
}

}  // namespace

void set_log_level(LogLevel level) {
  shown = level;
}

void log_error(const std::string& message) {
  print(LogLevel::kError, "", message);
}

void log_warning(const std::string& message) {
  print(LogLevel::kWarning, "warning: ", message);
}

void log_info(const std::string& message) {
  print(LogLevel::kInfo, "", message);
}

void show_status(const std::string& text) {
  if (text.empty() && !status_is_shown) return;
  static const bool is_terminal = isatty(STDERR_FILENO) != 0;
  if (!is_terminal || shown < LogLevel::kInfo) return;
  std::fprintf(stderr, "\r\033[K%s", text.c_str());
  std::fflush(stderr);
  status_is_shown = !text.empty();
}

}  // namespace dorfx
