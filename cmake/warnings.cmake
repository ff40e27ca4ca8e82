# The flags of everything in the project: warnings, and floating point whose results no compiler may change.
add_library(dorbmp_warnings INTERFACE)
target_compile_options(dorbmp_warnings INTERFACE -Wall -Wextra -Wno-missing-field-initializers)
if(DORBMP_WERROR)
  target_compile_options(dorbmp_warnings INTERFACE -Werror)
endif()

add_compile_options(-ffp-contract=off)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Hosts may call with a stack aligned to 4 bytes.
  add_compile_options(-mstackrealign)
  if(DORBMP_BASELINE STREQUAL "i686")
    # No vector instruction but in the kernel families. The x87 unit computes in more than single precision:
    # values are stored, and so rounded, wherever a variable is assigned.
    add_compile_options(-march=i686 -mno-mmx -mno-sse -mfpmath=387 -ffloat-store)
    # Functions that take four numbers side by side are inlined: no calling convention is theirs.
    target_compile_options(dorbmp_warnings INTERFACE -Wno-psabi)
  else()
    # Single precision rounds at every step.
    add_compile_options(-msse2 -mfpmath=sse)
  endif()
endif()
