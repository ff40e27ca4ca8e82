# Import libraries in both formats: libdorbmp.dll.a for MinGW, dorbmp.lib for Microsoft's linker and lld-link.
#
# On 32-bit Windows callers want decorated names and the DLL exports bare ones. The library that the linker
# writes by itself links nothing there, so one made from the decorated list takes its place.
function(dorbmp_import_libraries target)
  set(names ${PROJECT_SOURCE_DIR}/dorbmp/dorbmp.def)
  set(machine i386:x86-64)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(names ${PROJECT_SOURCE_DIR}/dorbmp/dorbmp_stdcall.def)
    set(machine i386)
    set(undecorate -k)
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM
      COMMAND ${CMAKE_DLLTOOL} ${undecorate} -d ${names} -l $<TARGET_LINKER_FILE:${target}>)
  endif()

  find_program(DORBMP_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
  if(NOT DORBMP_LLVM_DLLTOOL)
    message(STATUS "dorbmp.lib is left out: it needs llvm-dlltool")
    return()
  endif()
  set(library ${CMAKE_CURRENT_BINARY_DIR}/dorbmp.lib)
  add_custom_command(OUTPUT ${library} DEPENDS ${names} VERBATIM
    COMMAND ${DORBMP_LLVM_DLLTOOL} -m ${machine} ${undecorate} -d ${names} -l ${library})
  add_custom_target(dorbmp_lib ALL DEPENDS ${library})
endfunction()
