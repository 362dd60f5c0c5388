# The archive for Windows users, made by `cpack` in the build folder: the module, its type
# library, the headers, samples and documents.

set(zip_files
  $<TARGET_FILE:ZorelOibIdxComLib>
  ${PROJECT_BINARY_DIR}/generated/ZorelOibIdxLib.tlb)
install(FILES ${zip_files} DESTINATION . COMPONENT zip)
install(FILES include/ZorelAutomation.h include/ZorelClient.h include/ZorelOibIdxLib.h
  include/ZorelText.h
  DESTINATION include COMPONENT zip)
install(FILES doc/windows.md DESTINATION . RENAME README.md COMPONENT zip)
install(FILES doc/interface.md doc/index-data-file.md doc/meta-file.md doc/text-data-files.md
  DESTINATION . COMPONENT zip)
install(DIRECTORY samples/vbscript samples/jscript samples/powershell samples/cpp bindings/python
  DESTINATION samples COMPONENT zip PATTERN __pycache__ EXCLUDE PATTERN VERSION EXCLUDE)
install(FILES VERSION DESTINATION samples/python COMPONENT zip)  # a link in the source folder

set(CPACK_GENERATOR ZIP)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL zip)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_ARCHIVE_ZIP_FILE_NAME ZorelOibIdxLib-${PROJECT_VERSION}-win64)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
