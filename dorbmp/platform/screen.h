// Text straight onto the screen: systems with device contexts only.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace dorbmp::platform {

// The system's own formatting, cut to fit, terminating zero included.
void format_for_screen(char* text, size_t bytes, const char* format, std::va_list arguments);

// The device context of the whole screen, for a scope.
class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  int32_t height() const;  // pixels
  void set_background(uint32_t bgr);
  void write(int32_t y, const char* text);  // from column 0

 private:
  void* device_;
};

}  // namespace dorbmp::platform
