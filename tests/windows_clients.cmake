# Clients of the registered Windows module, run under Wine. Every test registers the module;
# the resource lock prevents two tests from changing the registry at the same time.

foreach(sample generate_and_search browse_by_name)
  add_executable(${sample} ${PROJECT_SOURCE_DIR}/samples/cpp/${sample}.cpp)
  target_include_directories(${sample} PRIVATE ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${sample} PRIVATE zorel_options)
  target_link_options(${sample} PRIVATE -municode)
endforeach()

# zorel_client_test(NAME COMMAND...)
function(zorel_client_test name)
  add_test(NAME samples/${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/registered.sh
    $<TARGET_FILE:ZorelOibIdxComLib> ${ARGN})
  set_tests_properties(samples/${name} PROPERTIES
    TIMEOUT 300 LABELS samples RESOURCE_LOCK wine_registry)
  zorel_under_wine(samples/${name})
endfunction()

set(example ${CMAKE_CURRENT_SOURCE_DIR}/data/example.dat)
zorel_client_test(cpp ${CMAKE_CURRENT_SOURCE_DIR}/windows/cpp_clients_test.sh
  $<TARGET_FILE:generate_and_search> $<TARGET_FILE:browse_by_name> ${example})

# A test that also needs the native build, which is that of the preset "release".
set(ZOREL_NATIVE_BUILD ${PROJECT_SOURCE_DIR}/build/release CACHE PATH
    "The build for this system, with oibidx")
find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)
zorel_client_test(interface_document ${Python3_EXECUTABLE}
  ${CMAKE_CURRENT_SOURCE_DIR}/doc/interface_vbscript_test.py ${ZOREL_NATIVE_BUILD}/cli/oibidx)

add_test(NAME package/zip COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/package/zip_test.sh
  ${CMAKE_CPACK_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_VERSION} ${example})
set_tests_properties(package/zip PROPERTIES
  TIMEOUT 300 LABELS package RESOURCE_LOCK wine_registry)
zorel_under_wine(package/zip)
