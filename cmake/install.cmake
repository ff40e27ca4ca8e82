# What people install: the libraries, the header, and what CMake and pkg-config need to find them; and packages
# of that, .deb for a Debian system and .zip for Windows. The version is the project's, in CMakeLists.txt.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dorbmp)

install(TARGETS dorbmp dorbmp_static EXPORT dorbmp
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/include/dorbmp.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/formats.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
if(TARGET dorbmp_lib)
  install(FILES ${PROJECT_BINARY_DIR}/dorbmp.lib DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()

install(EXPORT dorbmp NAMESPACE dorbmp:: FILE dorbmp-targets.cmake
  DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/templates/dorbmp-config.cmake.in ${PROJECT_BINARY_DIR}/dorbmp-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/dorbmp-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/dorbmp-config.cmake ${PROJECT_BINARY_DIR}/dorbmp-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# pkg-config: the prefix is found from where the file lies, so that an unpacked archive works anywhere.
file(RELATIVE_PATH prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
if(WIN32)
  set(private_libraries "-lgdi32 -luser32")
else()
  set(private_libraries "-lm")
endif()
configure_file(cmake/templates/dorbmp.pc.in ${PROJECT_BINARY_DIR}/dorbmp.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dorbmp.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

set(CPACK_PACKAGE_NAME dorbmp)
set(CPACK_PACKAGE_VENDOR "The dorbmp developers")
set(CPACK_PACKAGE_CONTACT "The dorbmp developers <developers@dorbmp.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(description "dorbmp fills, draws, copies, interpolates, blends and texture-maps video
frames in packed 4:2:2 YUV, 32-bit RGB, 8-bit palettised and key-plane
layouts, on whole frames or single fields.")
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  math(EXPR bits "${CMAKE_SIZEOF_VOID_P} * 8")
  set(CPACK_SYSTEM_NAME win${bits})
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libdorbmp${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${description}")
  set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${description}\nThis package has what programs are built with.")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdorbmp-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
endif()
include(CPack)
