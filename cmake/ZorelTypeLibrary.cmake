# The resources of the Windows module, the type library among them: the target
# zorel_resources, to be linked into the module and into the test programs that replace it.

set(server ${PROJECT_SOURCE_DIR}/src/frame/server)
set(generated ${PROJECT_BINARY_DIR}/generated)
file(MAKE_DIRECTORY ${generated})

find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_program(ZOREL_WIDL x86_64-w64-mingw32-widl REQUIRED)
# Files of Wine on the build machine; the compiler has none.
find_path(ZOREL_WIDL_INCLUDES oaidl.idl REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS /usr/include/wine/wine/windows /usr/include/wine/windows)
find_path(ZOREL_WIDL_LIBRARIES stdole2.tlb REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/wine/x86_64-windows)

set(type_library ${generated}/ZorelOibIdxLib.tlb)
add_custom_command(
  OUTPUT ${type_library}
  # The library's own record of that name replaces the system's.
  COMMAND ${ZOREL_WIDL} -m64 -D_FILETIME=_SystemFileTime -I ${ZOREL_WIDL_INCLUDES}
          -L ${ZOREL_WIDL_LIBRARIES} -t -o ${generated}/compiled.tlb ${server}/ZorelOibIdxLib.idl
  COMMAND Python3::Interpreter ${server}/finish_type_library.py
          ${server}/ZorelOibIdxLib.idl ${generated}/compiled.tlb ${type_library}
  DEPENDS ${server}/ZorelOibIdxLib.idl ${server}/finish_type_library.py
  COMMENT "Compiling the type library"
  VERBATIM)

configure_file(${server}/module.rc.in ${generated}/module.rc @ONLY)
set_source_files_properties(${generated}/module.rc PROPERTIES
  OBJECT_DEPENDS "${type_library};${server}/app_id.rgs;${server}/class.rgs")
add_library(zorel_resources OBJECT ${generated}/module.rc ${type_library})
target_include_directories(zorel_resources PRIVATE ${generated} ${server})
set_target_properties(zorel_resources PROPERTIES LINKER_LANGUAGE CXX)
