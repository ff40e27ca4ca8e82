// What the system wants to know about the stack in use.
#pragma once

namespace dorbmp::platform {

// For the time that a thread runs on a stack which is not its own. Windows keeps the bounds of a thread's
// stack and refuses to dispatch exceptions outside them, and a debugger's message is an exception.
class OnForeignStack {
 public:
  explicit OnForeignStack(void* stack_top);
  ~OnForeignStack();
  OnForeignStack(const OnForeignStack&) = delete;
  OnForeignStack& operator=(const OnForeignStack&) = delete;

 private:
  [[maybe_unused]] void* base_ = nullptr;
  [[maybe_unused]] void* limit_ = nullptr;
};

}  // namespace dorbmp::platform
