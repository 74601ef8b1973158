# Tests of the checker: NAME_test.cpp whose name begins with "check" also links it.

function(link_checker name)
  if(name MATCHES "^check" AND TARGET cli_shell_check)
    target_link_libraries(${name} PRIVATE "$<LINK_GROUP:RESCAN,cli_shell_check,cli_engine_static>")
  endif()
endfunction()

find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND AND TARGET cli_shell_check)
  add_test(NAME schema COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/schema_test.py ${PROJECT_SOURCE_DIR}
                               $<TARGET_FILE:check_mutation_test>)
  set_tests_properties(schema PROPERTIES TIMEOUT 300)
endif()
