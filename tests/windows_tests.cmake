# Tests of the Windows module as the system sees it.

target_compile_definitions(server_tests PRIVATE
  ZOREL_TYPE_LIBRARY="${PROJECT_BINARY_DIR}/generated/ZorelOibIdxLib.tlb")

# What the module shows and needs.
set(objdump x86_64-w64-mingw32-objdump)
set(functions DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer)
add_test(NAME windows/exports
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/exports_test.sh ${objdump}
          $<TARGET_FILE:ZorelOibIdxComLib> ${functions})
add_test(NAME windows/exports_self_check
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/exports_self_check.sh ${objdump}
          $<TARGET_FILE:ZorelOibIdxComLib> ${CMAKE_C_COMPILER} ${functions})

# What registering it writes. The lock keeps the tests that change the registry apart.
add_test(NAME windows/registration
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/registration_test.sh
          $<TARGET_FILE:ZorelOibIdxComLib> ${CMAKE_CURRENT_SOURCE_DIR}/windows/registered.txt)
set_tests_properties(windows/registration PROPERTIES TIMEOUT 120 RESOURCE_LOCK wine_registry)
zorel_under_wine(windows/registration)
