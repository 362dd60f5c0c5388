# Run by `cpack` between the installation of the components into its folder and their packaging:
# manuals and changelogs are compressed; the client needs no run path, because the loader
# searches the folder of the module.

set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share)
file(GLOB texts ${share}/man/man1/*.1 ${share}/doc/*/changelog ${share}/doc/*/changelog.Debian)
foreach(text IN LISTS texts)
  execute_process(COMMAND gzip -9n ${text} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB clients ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/bin/oibidx)
foreach(client IN LISTS clients)
  file(RPATH_REMOVE FILE ${client})
endforeach()
