# Debian's manuals are compressed; -n leaves out the time, so that the package is the same each time.
file(GLOB_RECURSE manuals ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/ymap.1)
execute_process(COMMAND gzip -9n ${manuals} COMMAND_ERROR_IS_FATAL ANY)
