# Tests that are not GoogleTest programs.

# The layers and the port, and the format of the sources: the same for every system, and
# checked once, by the native build.
if(NOT CMAKE_CROSSCOMPILING)
  add_test(NAME layers/includes
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/layers/check_layers.sh ${PROJECT_SOURCE_DIR})
  add_test(NAME layers/self_check COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/layers/self_check.sh)
  add_test(NAME style/format COMMAND ${PROJECT_SOURCE_DIR}/scripts/lint format)
endif()

# The exports of the module.
if(NOT WIN32)
  add_test(NAME server/exports
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/frame/server/exports_test.sh
            ${CMAKE_NM} $<TARGET_FILE:ZorelOibIdxComLib> ${CMAKE_CURRENT_SOURCE_DIR}/abi/abi.h)
endif()

# An installation and its clients. The rules do not depend on sanitizers, but clients of a
# sanitized module would have to be linked like it.
if(NOT CMAKE_CROSSCOMPILING AND NOT ZOREL_SANITIZE)
  add_test(NAME install/consumers
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install/install_test.sh
            ${CMAKE_COMMAND} ${CMAKE_GENERATOR} ${PROJECT_BINARY_DIR} ${CMAKE_CXX_COMPILER})
endif()

# The client as the tests start it: a cross-built one through the emulator.
if(NOT WIN32 AND TARGET oibidx)
  set(oibidx_program $<TARGET_FILE:oibidx>)
  if(CMAKE_CROSSCOMPILING)
    set(oibidx_program ${PROJECT_BINARY_DIR}/emulated-oibidx)
    file(GENERATE OUTPUT ${oibidx_program}
      CONTENT "#!/bin/sh\nexec ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:oibidx> \"$@\"\n"
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  endif()
  find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)
endif()

# The binary interface, used by a client in C without the library's headers.
if(NOT WIN32 AND TARGET oibidx)
  add_executable(abi_client abi/abi_client.c)
  target_link_libraries(abi_client PRIVATE zorel_options m ${CMAKE_DL_LIBS})
  add_test(NAME abi/client
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/abi/abi_test.sh
            ${oibidx_program} $<TARGET_FILE:ZorelOibIdxComLib>
            ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:abi_client>)
endif()

# The tests for the thread sanitizer: they have the label tsan, and this target builds them.
add_custom_target(tsan_tests)
file(GLOB thread_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/threads/*_test.cpp)
add_executable(threads_tests ${thread_sources})
target_link_libraries(threads_tests PRIVATE
  ${ZOREL_LAYER_TARGETS} zorel_test_support zorel_support GTest::gtest_main)
zorel_gtest(threads_tests threads tsan)
add_dependencies(tsan_tests threads_tests)

# The command-line client, compared with the file system and with plain models.
if(NOT WIN32 AND TARGET oibidx)
  add_test(NAME cli/oibidx
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/oibidx_test.py
            ${oibidx_program})
  add_test(NAME cli/scan
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/scan_test.py
            ${oibidx_program})
  add_test(NAME cli/meta
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/meta_test.py
            ${oibidx_program})
  add_test(NAME cli/search
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/search_test.py
            ${oibidx_program})
  add_test(NAME cli/find
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/find_test.py
            ${oibidx_program})
  add_test(NAME cli/generate
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/generate_test.py
            ${oibidx_program})
  set_tests_properties(cli/oibidx cli/scan cli/meta cli/search cli/find cli/generate
    PROPERTIES TIMEOUT 900 LABELS cli)
endif()

# The same client with faults in its calls of the system. A sanitizer's run-time library must be
# loaded before any other, so that no library can be preloaded there.
if(NOT CMAKE_CROSSCOMPILING AND TARGET oibidx AND NOT ZOREL_SANITIZE)
  add_library(zorel_fault_preload MODULE cli/fault_preload.cpp)
  set_target_properties(zorel_fault_preload PROPERTIES CXX_VISIBILITY_PRESET default)
  target_link_libraries(zorel_fault_preload PRIVATE zorel_test_support)
  add_test(NAME cli/faults
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/cli/faults_test.py
            ${oibidx_program} $<TARGET_FILE:zorel_fault_preload>)
  set_tests_properties(cli/faults PROPERTIES TIMEOUT 300 LABELS cli ENVIRONMENT TMPDIR=/dev/shm)
endif()

# The Python client. The interpreter cannot load a sanitized module: its run-time library
# must be loaded first, and the interpreter is not linked to it.
if(NOT CMAKE_CROSSCOMPILING AND TARGET oibidx AND NOT ZOREL_SANITIZE)
  find_program(ZOREL_MYPY mypy HINTS /usr/bin REQUIRED)  # the type checker
  add_test(NAME bindings/python
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/bindings/python_client_test.py
            $<TARGET_FILE:ZorelOibIdxComLib> $<TARGET_FILE:oibidx> ${ZOREL_MYPY})
  set_tests_properties(bindings/python PROPERTIES TIMEOUT 300 LABELS bindings)
endif()

# The Debian packages.
if(NOT CMAKE_CROSSCOMPILING AND TARGET oibidx AND NOT ZOREL_SANITIZE)
  foreach(program dpkg-deb lintian)
    find_program(ZOREL_PROGRAM_${program} ${program})
    if(NOT ZOREL_PROGRAM_${program})
      message(FATAL_ERROR "The test of the Debian packages needs ${program}; without it, build "
                          "with ZOREL_BUILD_TESTS=OFF.")
    endif()
  endforeach()
  add_test(NAME package/debian
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/package/package_test.sh
            ${CMAKE_CPACK_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_VERSION} ${Python3_EXECUTABLE})
  set_tests_properties(package/debian PROPERTIES TIMEOUT 300 LABELS package)
endif()

# The documents: their tour and examples run. Programs that load a sanitized module would have
# to be linked like it.
if(NOT CMAKE_CROSSCOMPILING AND TARGET oibidx AND NOT ZOREL_SANITIZE)
  foreach(document readme interface_doc)
    add_test(NAME doc/${document}
      COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/doc/${document}_test.py
              $<TARGET_FILE:ZorelOibIdxComLib> $<TARGET_FILE:oibidx> ${CMAKE_CXX_COMPILER})
    set_tests_properties(doc/${document} PROPERTIES TIMEOUT 300 LABELS doc)
  endforeach()
endif()
