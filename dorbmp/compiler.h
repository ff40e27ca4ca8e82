// What compilers spell differently, for every kernel.
#pragma once

#define DORBMP_INLINE inline __attribute__((always_inline))
// After the parameters of a lambda.
#define DORBMP_INLINE_LAMBDA __attribute__((always_inline))
#define DORBMP_NOINLINE __attribute__((noinline))
#define DORBMP_PREFETCH(address) __builtin_prefetch(address, 0)
#define DORBMP_PREFETCH_FOR_WRITE(address) __builtin_prefetch(address, 1)
// The compiler forgets what it knows of the object: it is read from memory again.
#define DORBMP_FORGET(object) __asm__("" : "+m"(object))

// Four numbers side by side. Operators work on each; comparisons give masks, to choose by.
using Float4 = float __attribute__((vector_size(16)));
using Int4 = int __attribute__((vector_size(16)));
#define DORBMP_TRUNCATE(float4) __builtin_convertvector(float4, Int4)
#define DORBMP_CONVERT(int4) __builtin_convertvector(int4, Float4)
