#include <windows.h>

#include "dorbmp/platform/device.h"

namespace dorbmp::platform {

int32_t set_lines_to_device(const DeviceLines& lines) {
  return SetDIBitsToDevice(static_cast<HDC>(lines.device), lines.dest_x, lines.dest_y,
                           static_cast<DWORD>(lines.width), static_cast<DWORD>(lines.height), lines.src_x, 0,
                           static_cast<UINT>(lines.start_line), static_cast<UINT>(lines.lines), lines.bits,
                           static_cast<const BITMAPINFO*>(lines.header), DIB_RGB_COLORS);
}

}  // namespace dorbmp::platform
