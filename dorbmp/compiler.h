// The only place that knows the compiler.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#define DORBMP_INLINE inline __attribute__((always_inline))
#define DORBMP_NOINLINE __attribute__((noinline))
#define DORBMP_RESTRICT __restrict__
#define DORBMP_PREFETCH(address) __builtin_prefetch(address, 0)
#define DORBMP_PREFETCH_FOR_WRITE(address) __builtin_prefetch(address, 1)
// The compiler forgets what it knows of the object: it is read from memory again.
#define DORBMP_FORGET(object) __asm__("" : "+m"(object))

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DORBMP_SEES_ADDRESSES
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define DORBMP_SEES_ADDRESSES
#endif

namespace dorbmp {

// Stores a 32-bit word count times. The string instruction is as quick as memset on long runs and needs no
// instruction set; below some 256 words it takes longer to start than a loop takes to finish. The address
// sanitizer does not see it, so it gets the loop.
inline void store_words(uint8_t* to, uint32_t word, size_t count) {
#ifndef DORBMP_SEES_ADDRESSES
  if (count >= 256) {
    __asm__ volatile("rep stosl" : "+D"(to), "+c"(count) : "a"(word) : "memory");
    return;
  }
#endif
  for (; count > 0; --count, to += 4) std::memcpy(to, &word, 4);
}

}  // namespace dorbmp
