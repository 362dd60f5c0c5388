# Tests of the Windows module as the system sees it.

target_compile_definitions(server_tests PRIVATE
  ZOREL_TYPE_LIBRARY="${PROJECT_BINARY_DIR}/generated/ZorelOibIdxLib.tlb")
