#include "dorbmp/platform/device.h"

namespace dorbmp::platform {

int32_t set_lines_to_device(const DeviceLines&) {
  return 0;
}

}  // namespace dorbmp::platform
