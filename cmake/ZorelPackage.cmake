# The Debian packages, made by `cpack` in the build folder, one for each component of an
# installation:
#   libzorel-oibidx1      library      the module
#   libzorel-oibidx-dev   development  headers, CMake package, pkg-config file, documents
#   oibidx                client       the command-line client, its manual and completions
#   python3-zorel-oibidx  python       the Python package and its example

set(ZOREL_PYTHON_DIR lib/python3/dist-packages CACHE STRING
    "Folder of the Python package, below the prefix")
set(library_package libzorel-oibidx${PROJECT_VERSION_MAJOR})
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc)
install(DIRECTORY bindings/python/zorel_oibidx DESTINATION ${ZOREL_PYTHON_DIR} COMPONENT python
  PATTERN __pycache__ EXCLUDE)
install(PROGRAMS bindings/python/example.py
  DESTINATION ${doc_dir}/python3-zorel-oibidx/examples COMPONENT python)
install(DIRECTORY doc/ DESTINATION ${doc_dir}/libzorel-oibidx-dev COMPONENT development
  FILES_MATCHING PATTERN *.md PATTERN *.json)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zorel-oibidx)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Zorel OibIdx developers <oibidx@zorel.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/finish_files.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development python)
if(ZOREL_BUILD_CLI)
  list(APPEND CPACK_COMPONENTS_ALL client)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
find_program(ZOREL_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(ZOREL_FILE file)  # used by the packager to detect programs

# What all packages contain besides their files.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${PROJECT_BINARY_DIR}/debian/changelog COPYONLY)

# zorel_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION) describes the package of a component.
function(zorel_package component name section summary description)
  install(FILES cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog
    ${PROJECT_BINARY_DIR}/debian/changelog.Debian
    DESTINATION ${doc_dir}/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES cmake/debian/lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${name}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  if(NOT component STREQUAL library)
    set(CPACK_COMPONENT_${key}_DEPENDS library PARENT_SCOPE)
  endif()
endfunction()

zorel_package(library ${library_package} libs "file-index controller of a backup product"
"Browses and searches the catalogues of backed-up volumes, generates text
data files from them, and keeps meta-files. This package contains the
automation server, which clients load as libZorelOibIdxComLib.so.")
zorel_package(development libzorel-oibidx-dev libdevel "file-index controller - development files"
"Headers for clients in C++17, a CMake package, a pkg-config file, and the
documents of the interfaces and file formats.")
zorel_package(client oibidx utils "command-line client of the file-index controller"
"Writes catalogues of folders, lists and searches catalogues and text data
files, and edits meta-files.")
zorel_package(python python3-zorel-oibidx python "file-index controller - Python client"
"A Python package with all objects of the automation server, with type
information for type checkers.")

# The module's users depend on it by its exact version; the system's libraries are detected.
foreach(key LIBRARY CLIENT)
  if(ZOREL_DPKG_SHLIBDEPS AND ZOREL_FILE)
    set(CPACK_DEBIAN_${key}_PACKAGE_SHLIBDEPS ON)
  else()
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6")
  endif()
endforeach()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11)")
# The generator calls ldconfig in maintainer scripts only; the trigger covers upgrades.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
