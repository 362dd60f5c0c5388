# Tests that are not GoogleTest programs.

# The layers and the port.
add_test(NAME layers/includes
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/layers/check_layers.sh ${PROJECT_SOURCE_DIR}/src)
add_test(NAME layers/self_check COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/layers/self_check.sh)

# The format of the sources.
add_test(NAME style/format COMMAND ${PROJECT_SOURCE_DIR}/scripts/lint format)

# The exports of the module.
if(NOT WIN32)
  set(exports_arguments
    ${CMAKE_NM} $<TARGET_FILE:ZorelOibIdxComLib> ${CMAKE_CURRENT_SOURCE_DIR}/server/exports.txt)
  add_test(NAME server/exports
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/server/exports_test.sh ${exports_arguments})
  add_test(NAME server/exports_self_check
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/server/exports_self_check.sh ${exports_arguments})
endif()

# An installation and its clients. The rules do not depend on sanitizers, but clients of a
# sanitized module would have to be linked like it.
if(NOT WIN32 AND NOT ZOREL_SANITIZE)
  add_test(NAME install/consumers
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install/install_test.sh
            ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR} ${CMAKE_CXX_COMPILER})
endif()
