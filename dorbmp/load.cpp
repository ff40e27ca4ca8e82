#include "dorbmp/load.h"

#include "dorbmp/cpu/compose_kernels.h"
#include "dorbmp/cpu/level.h"
#include "dorbmp/cpu/rect_kernels.h"
#include "dorbmp/cpu/span_tables.h"

namespace dorbmp {

void install_kernels(CpuLevel level, WiderTwins twins) {
  install_compose_kernels(level, twins);
  install_span_tables(level, twins);
  install_rect_kernels(level, twins);
}

int32_t library_entry(void*, uint32_t reason, void*) {
  if (reason == kProcessAttach) install_kernels(detect_cpu_level());
  return 1;
}

}  // namespace dorbmp
