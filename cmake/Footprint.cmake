# Target `footprint`: what the library takes of a device, printed. Meant for the preset `minsize`.
add_executable(footprint_program EXCLUDE_FROM_ALL bench/footprint.c)
cli_engine_project_target(footprint_program)
set_target_properties(footprint_program PROPERTIES ENABLE_EXPORTS ON)
target_link_libraries(footprint_program PRIVATE cli_engine::cli_engine)

set(router ${PROJECT_SOURCE_DIR}/examples/router)
add_custom_target(
  footprint
  COMMAND ${CMAKE_STRIP} -o libcli_engine.stripped $<TARGET_FILE:cli_engine_shared>
  COMMAND stat -c "The stripped shared library holds %s bytes." libcli_engine.stripped
  COMMAND footprint_program ${router}/router.json ${router}/privileges.json
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  VERBATIM)
