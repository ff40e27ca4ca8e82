#include <csetjmp>
#include <csignal>
#include <cstddef>
#include <iterator>

#include "dorbmp/platform/guarded_call.h"

namespace dorbmp::platform {
namespace {

constexpr int kSignals[] = {SIGILL, SIGSEGV, SIGBUS, SIGFPE, SIGTRAP};

// Initial-exec: the library needs no help from the dynamic linker at run time.
[[gnu::tls_model("initial-exec")]] thread_local sigjmp_buf* recovery = nullptr;
struct sigaction previous[std::size(kSignals)];

void restore() {
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &previous[i], nullptr);
}

void on_fault(int) {
  if (recovery != nullptr) siglongjmp(*recovery, 1);
  // Another thread's fault: it happens again under the handler that it belongs to.
  restore();
}

}  // namespace

bool guarded_call(void (*action)()) {
  struct sigaction handler = {};
  handler.sa_handler = on_fault;
  sigemptyset(&handler.sa_mask);
  sigset_t faults = handler.sa_mask;
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &handler, &previous[i]);
    sigaddset(&faults, kSignals[i]);
  }
  // A fault whose signal the loading thread blocks would end the process.
  sigset_t mask;
  pthread_sigmask(SIG_UNBLOCK, &faults, &mask);

  sigjmp_buf here;
  const bool completed = sigsetjmp(here, 1) == 0;
  if (completed) {
    recovery = &here;
    action();
  }
  recovery = nullptr;
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  restore();
  return completed;
}

}  // namespace dorbmp::platform
