# No exceptions, no run-time type information in the library; no C++ run-time library beside it on Windows.
function(dorbmp_library_flags target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:dorbmp_warnings>)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
endfunction()

# A family is compiled with exactly the instruction set it names. The file's suffix is the family; MMX spans may
# use the instructions of SSE. Where every processor has SSE2 (x86-64) the older families only keep the compiler
# from using it for loops.
function(dorbmp_kernel_flags)
  set(only_plain -fno-tree-vectorize)
  set(only_mmx -mmmx -fno-tree-vectorize)
  set(only_mmxext -mmmx -msse -fno-tree-vectorize)
  set(only_sse2 -msse2 -mno-sse3)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    list(APPEND only_plain -mno-mmx -mno-sse -mfpmath=387)
    list(APPEND only_mmx -mno-sse -mfpmath=387)
    # The integer instructions that came with SSE, on MMX registers: the system may not save XMM ones.
    list(APPEND only_mmxext -mno-sse2 -mfpmath=387)
  endif()
  set_source_files_properties(dorbmp/compose/kernels_plain.cpp PROPERTIES COMPILE_OPTIONS "${only_plain}")
  set_source_files_properties(dorbmp/compose/kernels_mmx.cpp PROPERTIES COMPILE_OPTIONS "${only_mmx}")
  set_source_files_properties(dorbmp/mapping/spans/fade.cpp PROPERTIES COMPILE_OPTIONS "${only_plain}")
  # The span kernels of this family also keep coordinates in XMM registers, with the instructions of SSE alone.
  set_source_files_properties(dorbmp/compose/kernels_mmxext.cpp dorbmp/mapping/spans/fade_mmx.cpp
    dorbmp/mapping/spans/key16_mmx.cpp dorbmp/mapping/spans/matte_fill_mmx.cpp
    dorbmp/mapping/spans/rgb32_mmx.cpp dorbmp/mapping/spans/yuy2_mmx.cpp
    PROPERTIES COMPILE_OPTIONS "${only_mmxext}")
  set_source_files_properties(dorbmp/compose/kernels_sse2.cpp PROPERTIES COMPILE_OPTIONS "${only_sse2}")
  # Their loops are plain: the compiler's vectoriser is the family.
  set_source_files_properties(dorbmp/raster/fill.cpp dorbmp/raster/interpolate.cpp
    dorbmp/mapping/rect/kernels_plain.cpp dorbmp/mapping/rect/means_plain.cpp PROPERTIES COMPILE_OPTIONS "-O3")
  set(only_avx2 -mavx2)
  if(WIN32)
    # The compiler takes the stack for aligned to 32 bytes there, which it is not.
    list(APPEND only_avx2 -Wa,-muse-unaligned-vector-move)
  endif()
  set_source_files_properties(dorbmp/compose/color_kernels_avx2.cpp dorbmp/compose/kernels_avx2.cpp
    dorbmp/mapping/spans/key16_avx2.cpp dorbmp/mapping/spans/matte_fill_avx2.cpp
    dorbmp/mapping/spans/rgb32_avx2.cpp dorbmp/mapping/spans/yuy2_avx2.cpp PROPERTIES COMPILE_OPTIONS "${only_avx2}")
  # Has small arrays of vectors, which stay in registers where loops over them are unrolled.
  set_source_files_properties(dorbmp/mapping/rect/columns_avx2.cpp dorbmp/mapping/rect/lines_avx2.cpp
    dorbmp/mapping/rect/means_avx2.cpp dorbmp/mapping/rect/pixels_avx2.cpp PROPERTIES COMPILE_OPTIONS "${only_avx2};-O3")
  # The key shapes are plain loops for the compiler to vectorise. None of the flags changes a value: roots of
  # negative numbers are wanted as they are, and nothing reads the floating-point status. Runs go to the C
  # library, whose own choice by processor beats the string instructions of inline copies.
  set(shapes $<$<NOT:$<CONFIG:Debug>>:-O3> -fno-math-errno -fno-trapping-math -fno-builtin-memcpy
    -fno-builtin-memset)
  set_source_files_properties(dorbmp/alpha/alpha_circle.cpp dorbmp/alpha/alpha_rect.cpp
    dorbmp/alpha/rounded_hard.cpp dorbmp/alpha/rounded_soft.cpp PROPERTIES COMPILE_OPTIONS "${shapes}")
  # Its loop over a table is too short a body for its branches (soft disc: 270 us, unrolled 230).
  set_source_files_properties(dorbmp/alpha/disc_soft.cpp PROPERTIES COMPILE_OPTIONS "${shapes};-funroll-loops")
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
