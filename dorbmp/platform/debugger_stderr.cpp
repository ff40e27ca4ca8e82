#include <cstdio>

#include "dorbmp/platform/debugger.h"

namespace dorbmp::platform {

void output_to_debugger(const char* text) {
  std::fputs(text, stderr);
}

}  // namespace dorbmp::platform
