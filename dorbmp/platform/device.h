// Frames on a device context: the one call, whatever the system.
#pragma once

#include <cstdint>

namespace dorbmp::platform {

struct DeviceLines {
  void* device;
  int32_t dest_x;
  int32_t dest_y;
  int32_t width;
  int32_t height;
  int32_t src_x;
  int32_t start_line;
  int32_t lines;
  const void* bits;
  const void* header;  // a DisplayHeader, or null, which fails
};

// Returns the number of lines set; 0 on failure and on systems without device contexts.
int32_t set_lines_to_device(const DeviceLines& lines);

}  // namespace dorbmp::platform
