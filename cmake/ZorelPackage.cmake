# The Debian package, made by `cpack` in the build folder: the contents of an installation, the
# Python client, the documents and the samples of client programs.

set(ZOREL_PYTHON_DIR lib/python3/dist-packages CACHE STRING
    "Folder of the Python package, below the prefix")
install(DIRECTORY bindings/python/zorel_oibidx DESTINATION ${ZOREL_PYTHON_DIR}
  PATTERN __pycache__ EXCLUDE)
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/zorel-oibidx)
install(DIRECTORY doc/ DESTINATION ${doc_dir} FILES_MATCHING PATTERN *.md)
install(PROGRAMS bindings/python/example.py DESTINATION ${doc_dir}/examples)
install(DIRECTORY samples/powershell DESTINATION ${doc_dir}/examples)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zorel-oibidx)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "file-index controller of a backup product")
set(CPACK_PACKAGE_DESCRIPTION
"Browses and searches the catalogues of backed-up volumes, generates text data
files from them, and keeps meta-files. Holds the automation server
libZorelOibIdxComLib.so, the command-line client oibidx, a Python client, and
what C++ clients need: headers, a CMake package and a pkg-config file.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Zorel OibIdx developers <oibidx@zorel.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "python3 (>= 3.11)")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
find_program(ZOREL_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(ZOREL_FILE file)  # used by the packager to detect programs
if(ZOREL_DPKG_SHLIBDEPS AND ZOREL_FILE)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # The folder of the client's own module, for the search for dependencies.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
else()
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6")
endif()
include(CPack)
