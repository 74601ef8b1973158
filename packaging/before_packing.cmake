# The static library of a package carries no debug information.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_DIRECTORY}/*.a)
foreach(archive IN LISTS archives)
  execute_process(COMMAND ${CPACK_OBJCOPY} --strip-debug ${archive} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
