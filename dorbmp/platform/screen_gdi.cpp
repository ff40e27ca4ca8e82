#include <windows.h>

#include <cstring>

#include "dorbmp/platform/screen.h"

namespace dorbmp::platform {

void format_for_screen(char* text, size_t bytes, const char* format, std::va_list arguments) {
  char whole[1024 + 1];  // the most that the system's routine writes, whatever its argument
  whole[0] = 0;
  wvsprintfA(whole, format, arguments);
  whole[bytes - 1] = 0;
  std::memcpy(text, whole, bytes);
}

Screen::Screen() : device_(GetDC(nullptr)) {}

Screen::~Screen() {
  ReleaseDC(nullptr, static_cast<HDC>(device_));
}

int32_t Screen::height() const {
  return GetDeviceCaps(static_cast<HDC>(device_), VERTRES);
}

void Screen::set_background(uint32_t bgr) {
  SetBkColor(static_cast<HDC>(device_), bgr);
}

void Screen::write(int32_t y, const char* text) {
  TextOutA(static_cast<HDC>(device_), 0, y, text, lstrlenA(text));
}

}  // namespace dorbmp::platform
