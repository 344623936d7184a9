# Runs before a package is made: compresses its manual pages and its changelog, as Debian requires.
file(GLOB_RECURSE files "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/*.[1-8]"
     "${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/*/changelog")
foreach(file IN LISTS files)
  execute_process(COMMAND gzip -9n "${file}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
