#include "dorbmp/trace/switch_stack.h"

namespace dorbmp {

// In a file of its own: no caller may look into what the compiler cannot read. The frame pointer, which every
// convention keeps across calls, holds the way back.
#if defined(__x86_64__) && defined(_WIN64)

extern "C" [[gnu::naked]] void switch_stack(void*, void (*)(void*), void*) {
  __asm__(
      "pushq %rbp\n\t"
      "movq %rsp, %rbp\n\t"
      "andq $-16, %rcx\n\t"
      "leaq -32(%rcx), %rsp\n\t"  // the callee's home space
      "movq %r8, %rcx\n\t"
      "call *%rdx\n\t"
      "movq %rbp, %rsp\n\t"
      "popq %rbp\n\t"
      "ret");
}

#elif defined(__x86_64__)

extern "C" [[gnu::naked]] void switch_stack(void*, void (*)(void*), void*) {
  __asm__(
      "pushq %rbp\n\t"
      "movq %rsp, %rbp\n\t"
      "andq $-16, %rdi\n\t"
      "movq %rdi, %rsp\n\t"
      "movq %rdx, %rdi\n\t"
      "call *%rsi\n\t"
      "movq %rbp, %rsp\n\t"
      "popq %rbp\n\t"
      "ret");
}

#else

extern "C" [[gnu::naked]] void switch_stack(void*, void (*)(void*), void*) {
  __asm__(
      "pushl %ebp\n\t"
      "movl %esp, %ebp\n\t"
      "movl 8(%ebp), %eax\n\t"
      "movl 12(%ebp), %ecx\n\t"
      "movl 16(%ebp), %edx\n\t"
      "andl $-16, %eax\n\t"
      "leal -16(%eax), %esp\n\t"
      "movl %edx, (%esp)\n\t"
      "call *%ecx\n\t"
      "movl %ebp, %esp\n\t"
      "popl %ebp\n\t"
      "ret");
}

#endif

}  // namespace dorbmp
