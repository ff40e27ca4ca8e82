#include <windows.h>

#include "dorbmp/platform/debugger.h"

namespace dorbmp::platform {

void output_to_debugger(const char* text) {
  OutputDebugStringA(text);
}

}  // namespace dorbmp::platform
