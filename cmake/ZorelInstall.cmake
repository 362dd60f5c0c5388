# The contents of an installation: the module, the headers, a CMake package and a pkg-config
# file. Both use paths relative to their own folder, so an installed tree can be moved.

include(CMakePackageConfigHelpers)

# The file name without a version is what automation clients load at run time; the link with
# this name therefore belongs to the component of the module.
install(TARGETS ZorelOibIdxComLib EXPORT ZorelOibIdxLibTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES
  include/ZorelAutomation.h
  include/ZorelClient.h
  include/ZorelOibIdxLib.h
  include/ZorelText.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZorelOibIdxLib)
install(EXPORT ZorelOibIdxLibTargets NAMESPACE ZorelOibIdxLib:: DESTINATION ${package_dir}
  COMPONENT development)
configure_package_config_file(
  cmake/ZorelOibIdxLibConfig.cmake.in ${PROJECT_BINARY_DIR}/ZorelOibIdxLibConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/ZorelOibIdxLibConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/ZorelOibIdxLibConfig.cmake
  ${PROJECT_BINARY_DIR}/ZorelOibIdxLibConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

if(NOT WIN32)
  set_target_properties(ZorelOibIdxComLib PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY
    ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir} OUTPUT_VARIABLE pkgconfig_to_prefix)
  configure_file(cmake/ZorelOibIdxLib.pc.in ${PROJECT_BINARY_DIR}/ZorelOibIdxLib.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/ZorelOibIdxLib.pc DESTINATION ${pkgconfig_dir}
    COMPONENT development)
endif()
