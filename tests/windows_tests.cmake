# Tests of the Windows module as the system loads it.

set(type_library ${PROJECT_BINARY_DIR}/generated/ZorelOibIdxLib.tlb)

# The exports and imports of the module.
add_test(NAME windows/exports
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/exports_test.sh x86_64-w64-mingw32-objdump
          $<TARGET_FILE:ZorelOibIdxComLib>
          DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer)

# The registry entries of the module. The lock keeps the tests that change the registry apart.
add_test(NAME windows/registration
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/registration_test.sh
          $<TARGET_FILE:ZorelOibIdxComLib> ${type_library}
          ${CMAKE_CURRENT_SOURCE_DIR}/windows/registered.txt)
set_tests_properties(windows/registration PROPERTIES TIMEOUT 120 RESOURCE_LOCK wine_registry)
zorel_under_wine(windows/registration)

# Clients in C++ of the registered module.
add_executable(module_tests windows/module_test.cpp support/target.cpp)
target_include_directories(module_tests PRIVATE ${PROJECT_SOURCE_DIR}/src
                                                ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(module_tests PRIVATE
  ZOREL_MODULE="$<TARGET_FILE:ZorelOibIdxComLib>" ZOREL_VERSION="${PROJECT_VERSION}"
  ZOREL_TYPE_LIBRARY="${type_library}"
  ZOREL_EXAMPLE="${CMAKE_CURRENT_SOURCE_DIR}/data/example.dat")
target_link_libraries(module_tests PRIVATE zorel_test_support GTest::gtest_main)
add_dependencies(module_tests ZorelOibIdxComLib)
zorel_gtest(module_tests windows/module windows)
set_tests_properties(windows/module PROPERTIES RESOURCE_LOCK wine_registry)
