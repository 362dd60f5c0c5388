# Cross-built tests run under Wine, all with one prefix in the build folder and one server,
# which the tests wine/start and wine/stop start and stop.

set(zorel_wine_prefix ${PROJECT_BINARY_DIR}/wineprefix)
set(zorel_wine_environment
  WINEPREFIX=${zorel_wine_prefix} WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=)

# zorel_under_wine(TEST...) gives the tests Wine's environment and the running server;
# on Windows itself it does nothing.
function(zorel_under_wine)
  if(CMAKE_CROSSCOMPILING)
    foreach(test IN LISTS ARGN)
      set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT ${zorel_wine_environment})
      set_property(TEST ${test} APPEND PROPERTY FIXTURES_REQUIRED wine)
    endforeach()
  endif()
endfunction()

if(WIN32 AND CMAKE_CROSSCOMPILING)
  foreach(step start stop)
    add_test(NAME wine/${step}
      COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/windows/wine.sh ${step})
    set_tests_properties(wine/${step} PROPERTIES
      TIMEOUT 120 ENVIRONMENT "${zorel_wine_environment}")
  endforeach()
  set_tests_properties(wine/start PROPERTIES FIXTURES_SETUP wine)
  set_tests_properties(wine/stop PROPERTIES FIXTURES_CLEANUP wine)
endif()
