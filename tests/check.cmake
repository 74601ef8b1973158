# Tests of the checker: NAME_test.cpp whose name begins with "check" also links it.

function(link_checker name)
  if(name MATCHES "^check" AND TARGET cli_check)
    target_link_libraries(${name} PRIVATE cli_check cli_engine_internal)
  endif()
endfunction()

# The schemas beside the checker.
if(TARGET cli_check AND NOT CMAKE_CROSSCOMPILING)
  add_test(NAME schema_test COMMAND ${SYSTEM_PYTHON3} -B ${CMAKE_CURRENT_SOURCE_DIR}/schema_test.py ${PROJECT_SOURCE_DIR}
                                    $<TARGET_FILE:check_mutation_test>)
  set_tests_properties(schema_test PROPERTIES TIMEOUT 300)
endif()
