// The system header reads the thread block through a segment, at an address that looks like a null pointer.
#pragma GCC diagnostic ignored "-Warray-bounds"
#include <windows.h>

#include "dorbmp/platform/stack.h"

namespace dorbmp::platform {
namespace {

NT_TIB& thread_block() {
  return *reinterpret_cast<NT_TIB*>(NtCurrentTeb());
}

}  // namespace

OnForeignStack::OnForeignStack(void* stack_top)
    : base_(thread_block().StackBase), limit_(thread_block().StackLimit) {
  thread_block().StackBase = stack_top;
  thread_block().StackLimit = nullptr;  // the caller knows where it ends, we do not
}

OnForeignStack::~OnForeignStack() {
  thread_block().StackBase = base_;
  thread_block().StackLimit = limit_;
}

}  // namespace dorbmp::platform
