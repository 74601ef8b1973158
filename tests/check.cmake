# Tests of the checker: NAME_test.cpp whose name begins with "check" also links it.

function(link_checker name)
  if(name MATCHES "^check" AND TARGET cli_shell_check)
    target_link_libraries(${name} PRIVATE "$<LINK_GROUP:RESCAN,cli_shell_check,cli_engine_static>")
  endif()
endfunction()
