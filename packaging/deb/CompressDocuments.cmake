# Debian wants manual pages compressed, and without a time stamp inside.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/*.1")
foreach(page IN LISTS pages)
  execute_process(COMMAND gzip -9nf "${page}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
