# The header-only libraries of the client. They are installed for the build machine, in a
# folder that a cross compiler cannot search because it holds the headers of another system;
# a cross-build reaches each library through a link of its own.

# zorel_header_library(PACKAGE TARGET FOLDER) defines TARGET for the headers <FOLDER/...>.
function(zorel_header_library package target folder)
  if(NOT CMAKE_CROSSCOMPILING)
    find_package(${package} REQUIRED)
    return()
  endif()
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing; install ${package}.")
  endif()
  set(links ${PROJECT_BINARY_DIR}/header_libraries)
  file(MAKE_DIRECTORY ${links})
  file(CREATE_LINK /usr/include/${folder} ${links}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED)
  set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${links}
                                             INTERFACE_INCLUDE_DIRECTORIES ${links})
endfunction()
