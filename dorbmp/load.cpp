#include "dorbmp/load.h"

#include "dorbmp/cpu/compose_kernels.h"
#include "dorbmp/cpu/level.h"
#include "dorbmp/cpu/rect_kernels.h"
#include "dorbmp/cpu/span_tables.h"

namespace dorbmp {

int32_t library_entry(void*, uint32_t reason, void*) {
  if (reason == kProcessAttach) {
    const CpuLevel level = detect_cpu_level();
    install_compose_kernels(level);
    install_span_tables(level);
    install_rect_kernels(level);
  }
  return 1;
}

}  // namespace dorbmp
