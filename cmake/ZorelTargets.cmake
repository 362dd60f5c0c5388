# How the targets of this project are compiled: warnings, sanitizers, layers.

set(ZOREL_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

add_library(zorel_options INTERFACE)
target_compile_options(zorel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports overlaps in string concatenation that do not exist.
  target_compile_options(zorel_options INTERFACE -Wno-restrict)
endif()
if(WIN32)
  target_compile_definitions(zorel_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN)
  # At run time only the system's own libraries are needed.
  target_link_options(zorel_options INTERFACE -static)
  target_link_libraries(zorel_options INTERFACE ole32 oleaut32 uuid advapi32 version)
endif()
if(ZOREL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # In sanitized code GCC 12 reports false uses before initialisation inside std::function.
  target_compile_options(zorel_options INTERFACE -Wno-maybe-uninitialized)
endif()
if(ZOREL_SANITIZE)
  target_compile_options(zorel_options INTERFACE
    -fsanitize=${ZOREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zorel_options INTERFACE -fsanitize=${ZOREL_SANITIZE})
  if(ZOREL_SANITIZE MATCHES "undefined")
    # Objects of clients in other languages have vtables, but no C++ type information.
    target_compile_options(zorel_options INTERFACE -fno-sanitize=vptr)
    target_link_options(zorel_options INTERFACE -fno-sanitize=vptr)
  endif()
endif()

if(WIN32)
  set(ZOREL_SYSTEM win32)
  set(ZOREL_OTHER_SYSTEM posix)
  set(ZOREL_EXPORT "")  # the module definition file lists the exports
else()
  set(ZOREL_SYSTEM posix)
  set(ZOREL_OTHER_SYSTEM win32)
  set(ZOREL_EXPORT "__attribute__((visibility(\"default\")))")
endif()

# zorel_sources(VARIABLE FOLDER) lists the sources below a folder without those of the other
# system.
function(zorel_sources variable folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/*.h)
  list(FILTER sources EXCLUDE REGEX "/${ZOREL_OTHER_SYSTEM}/")
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# zorel_layer(NAME FOLDER [EXCLUDE REGEX]) makes a layer from all sources below src/FOLDER that
# do not match REGEX. Layers are object libraries, so that the module and the tests contain
# every symbol, exports included.
function(zorel_layer name folder)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "EXCLUDE" "")
  zorel_sources(sources ${CMAKE_CURRENT_SOURCE_DIR}/${folder})
  if(NOT folder MATCHES "/")
    list(FILTER sources EXCLUDE REGEX "/${folder}/server/")
  endif()
  if(arg_EXCLUDE)
    list(FILTER sources EXCLUDE REGEX "${arg_EXCLUDE}")
  endif()
  add_library(zorel_${name} OBJECT ${sources})
  set_target_properties(zorel_${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(zorel_${name} PUBLIC
    ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_compile_definitions(zorel_${name} PRIVATE "ZOREL_EXPORT=${ZOREL_EXPORT}")
  target_link_libraries(zorel_${name} PRIVATE zorel_options)
endfunction()
