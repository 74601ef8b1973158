# docs/router-reference.md is what cli-shell reference prints; with -DUPDATE=1 it is written anew.
execute_process(COMMAND ${SHELL} reference --handlers ${HANDLERS} --privileges ${PROJECT}/examples/router/privileges.json
                        ${PROJECT}/examples/router/router.json
                OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
set(page ${PROJECT}/docs/router-reference.md)
if(UPDATE)
  file(WRITE ${page} "${printed}")
endif()
file(READ ${page} kept)
if(NOT kept STREQUAL printed)
  message(FATAL_ERROR "docs/router-reference.md is not current; run
  cli-shell reference --handlers HANDLERS --privileges examples/router/privileges.json examples/router/router.json > docs/router-reference.md")
endif()
