#include "dorbmp/platform/screen.h"
#include "dorbmp/trace/trace.h"

namespace dorbmp {
namespace {

ScreenLines lines;

}  // namespace

void screen_trace(const char* format, ...) {
  constexpr uint32_t kBlue = 0xFF0000;
  constexpr char kBlankLine[] = "                                                ";
  static_assert(sizeof(kBlankLine) == 48 + 1);

  char text[kTraceBytes];
  std::va_list arguments;
  va_start(arguments, format);
  platform::format_for_screen(text, sizeof(text), format, arguments);
  va_end(arguments);

  platform::Screen screen;
  if (!lines.is_measured()) lines.measure(screen.height());
  screen.write(lines.y(), text);
  lines.advance();
  screen.set_background(kBlue);
  screen.write(lines.y(), kBlankLine);
  lines.wrap();
}

}  // namespace dorbmp
