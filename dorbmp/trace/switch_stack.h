// A call on another stack.
#pragma once

namespace dorbmp {

// Calls function(argument) with the stack pointer at stack_top, rounded down to 16 bytes, then restores it.
extern "C" void switch_stack(void* stack_top, void (*function)(void*), void* argument);

}  // namespace dorbmp
