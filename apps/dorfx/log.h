// Messages for people, on standard error, one line each.
#pragma once

#include <string>

namespace dorfx {

enum class LogLevel { kQuiet, kError, kWarning, kInfo };

void set_log_level(LogLevel level);

void log_error(const std::string& message);
void log_warning(const std::string& message);
void log_info(const std::string& message);

// The one progress line, rewritten in place; only where standard error is a terminal. Empty: wipe it.
void show_status(const std::string& text);

}  // namespace dorfx
