// Formatted trace for the library's developers. No operation calls it and nothing of it is exported.
//
// Messages are kept short: a text is cut after 259 bytes. The routines take no locks.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace dorbmp {

// Non-zero, as at the start, sends traces to the debugger; 0 prints them on the standard output.
void set_trace_mode(int32_t mode);

// Formats as printf does. On the standard output the formatted text is a format once more: a doubled percent
// sign that is left prints as one. Such a text has no arguments, so every other conversion in it is printed
// as it stands: none may take what happens to lie on the stack for a number, a string or an address.
[[gnu::format(printf, 1, 2)]] void trace(const char* format, ...);
void trace_v(const char* format, std::va_list arguments);

// As trace, on a stack that ends below stack_top, where the current one must not grow. Formatting may take
// some kilobytes. The stack pointer is back where it was on return; nothing may unwind through the call.
[[gnu::format(printf, 2, 3)]] void trace_on_stack(void* stack_top, const char* format, ...);

#ifdef _WIN32
// Writes a line straight onto the screen, below the one before, with a blue bar under it; formats as
// wvsprintf does. At the bottom it starts over at the top. One thread at a time.
void screen_trace(const char* format, ...);
#endif

inline constexpr int kTraceBytes = 260;  // with the terminating zero

// Where the lines of the screen trace go, in pixels.
class ScreenLines {
 public:
  static constexpr int32_t kStep = 20;

  bool is_measured() const { return bottom_ != 0; }
  void measure(int32_t screen_height) { bottom_ = screen_height - kStep; }

  int32_t y() const { return y_; }
  void advance() { y_ += kStep; }
  void wrap() {
    if (y_ > bottom_) y_ = 0;
  }

 private:
  int32_t y_ = 0;
  int32_t bottom_ = 0;
};

}  // namespace dorbmp
