# No exceptions, no run-time type information in the library; no C++ run-time library beside it on Windows.
function(dorbmp_library_flags target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:dorbmp_warnings>)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
endfunction()

# A family is compiled with exactly the instruction set it names, and the suffix of a file names its family. Where
# every processor has SSE2 (x86-64) the older families only keep the compiler from using it for loops.
set(dorbmp_mmx_flags -mmmx -fno-tree-vectorize)
set(dorbmp_mmxext_flags -mmmx -msse -fno-tree-vectorize)
set(dorbmp_sse2_flags -msse2 -mno-sse3)
set(dorbmp_avx2_flags -mavx2)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  list(APPEND dorbmp_mmx_flags -mno-sse -mfpmath=387)
  list(APPEND dorbmp_mmxext_flags -mno-sse2 -mfpmath=387)
endif()
if(WIN32)
  # The compiler takes the stack for aligned to 32 bytes there, which it is not.
  list(APPEND dorbmp_avx2_flags -Wa,-muse-unaligned-vector-move)
endif()
# Plain kernels: composition keeps to integer code, as its family says; the loops of the others are the
# compiler's to vectorise, with what every processor of the build has.
set(dorbmp_integer_flags -fno-tree-vectorize)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  list(APPEND dorbmp_integer_flags -mno-mmx -mno-sse -mfpmath=387)
endif()
# Key shapes: none of the flags changes a value. Roots of negative numbers are wanted as they are, and nothing
# reads the floating-point status. Runs go to the C library, whose own choice by processor beats the string
# instructions of inline copies.
set(dorbmp_shape_flags -fno-math-errno -fno-trapping-math -fno-builtin-memcpy -fno-builtin-memset)

function(dorbmp_kernel_flags)
  foreach(source IN LISTS ARGN)
    set(flags "")
    if(source MATCHES "_(mmx|mmxext|sse2|avx2)[.]cpp$")
      set(flags ${dorbmp_${CMAKE_MATCH_1}_flags})
    elseif(source MATCHES "compose/kernels_plain|spans/fade")
      set(flags ${dorbmp_integer_flags})
    elseif(source MATCHES "/alpha/")
      set(flags ${dorbmp_shape_flags})
    endif()
    # Long loops, and small arrays of vectors that stay in registers where loops over them are unrolled.
    if(source MATCHES "/raster/|/alpha/|/rect/.*_(plain|avx2)")
      list(APPEND flags $<$<NOT:$<CONFIG:Debug>>:-O3>)
    endif()
    if(source MATCHES "disc_soft")
      # Its loop over a table is too short a body for its branches (soft disc: 270 us, unrolled 230).
      list(APPEND flags -funroll-loops)
    endif()
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${flags}")
  endforeach()
endfunction()

# Exactly the eighteen names, undecorated.
function(dorbmp_export_names target)
  if(WIN32)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/dorbmp/dorbmp.def)
    target_link_options(${target} PRIVATE -Wl,--enable-stdcall-fixup -static-libgcc -static-libstdc++ -static)
    set_target_properties(${target} PROPERTIES PREFIX "")
  else()
    target_link_options(${target} PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/dorbmp/dorbmp.map)
    if(NOT DORBMP_SANITIZE)
      # Nothing but the C library: a host need not have the C++ one.
      target_link_options(${target} PRIVATE -Wl,--no-undefined -nodefaultlibs)
      target_link_libraries(${target} PRIVATE m c gcc)
    endif()
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/dorbmp/dorbmp.map)
  endif()
endfunction()
