# What makes an installation's files those of a Debian package. CPack runs it when they are staged.
set(prefix ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_INSTALL_PREFIX})
set(documents ${prefix}/share/doc/${CPACK_PACKAGE_NAME})

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# As dh_strip does; CPack leaves the section that names the compiler.
file(GLOB binaries ${prefix}/bin/* ${prefix}/lib/*.so* ${prefix}/lib/*/*.so* ${prefix}/libexec/ymap/*)
foreach(binary IN LISTS binaries)
  if(NOT IS_SYMLINK ${binary})
    run(strip --strip-unneeded --remove-section=.comment --remove-section=.note ${binary})
  endif()
endforeach()

file(MAKE_DIRECTORY ${documents})
run(awk -v package=${CPACK_PACKAGE_NAME} -v "maintainer=${CPACK_PACKAGE_CONTACT}"
    -f ${CMAKE_CURRENT_LIST_DIR}/debian_changelog.awk ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md
    OUTPUT_FILE ${documents}/changelog)
configure_file(${CMAKE_CURRENT_LIST_DIR}/lintian-overrides ${prefix}/share/lintian/overrides/${CPACK_PACKAGE_NAME} COPYONLY)

# -n leaves out the time, so that the package is the same each time.
file(GLOB_RECURSE texts ${documents}/changelog ${prefix}/share/man/*.1)
run(gzip -9n ${texts})

# Folders are made by the builder's umask.
run(chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
