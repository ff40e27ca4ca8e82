#include <windows.h>

#include "dorbmp/platform/guarded_call.h"

namespace dorbmp::platform {
namespace {

// Where a faulting action leads: the five words of the compiler's own jump buffer. Loading runs on one
// thread, under the loader's lock.
void* recovery[5];
DWORD recovering_thread;

[[noreturn]] void land() {
  __builtin_longjmp(recovery, 1);
}

// Jumping out of a handler would leave the system's dispatcher on the stack: the handler only redirects the
// faulting thread, which then jumps by itself.
LONG CALLBACK on_exception(EXCEPTION_POINTERS* info) {
  if (GetCurrentThreadId() != recovering_thread) return EXCEPTION_CONTINUE_SEARCH;
#ifdef _WIN64
  info->ContextRecord->Rip = reinterpret_cast<DWORD64>(&land);
#else
  info->ContextRecord->Eip = reinterpret_cast<DWORD>(&land);
#endif
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

bool guarded_call(void (*action)()) {
  void* handler = AddVectoredExceptionHandler(1, on_exception);
  recovering_thread = GetCurrentThreadId();
  bool completed = false;
  if (__builtin_setjmp(recovery) == 0) {
    action();
    completed = true;
  }
  recovering_thread = 0;
  RemoveVectoredExceptionHandler(handler);
  return completed;
}

}  // namespace dorbmp::platform
