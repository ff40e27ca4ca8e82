# Says here what else the compiler would say some hundred files later.
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("
  #if !defined(__GNUC__) || !(defined(__x86_64__) || defined(__i386__)) || defined(__APPLE__)
  #error
  #endif
  int main() {}" DORBMP_IS_SUPPORTED)
if(NOT DORBMP_IS_SUPPORTED)
  message(FATAL_ERROR "dorbmp is for x86, 64 or 32 bit, on Linux or Windows, and is built by GCC, Clang or MinGW. "
    "This is ${CMAKE_CXX_COMPILER_ID} for ${CMAKE_SYSTEM_PROCESSOR} on ${CMAKE_SYSTEM_NAME}. "
    "Microsoft's compiler can use the DLL that MinGW builds, through its dorbmp.lib.")
endif()
