# Facts of each shipped file: relocated tables are read-only, the stack is not executable, code is position independent,
# buffers and stacks are checked.
#   cmake -DFILES=FILE;... -DREADELF=readelf -P hardening.cmake
foreach(file IN LISTS FILES)
  execute_process(COMMAND ${READELF} -hldW --dyn-syms ${file} OUTPUT_VARIABLE facts COMMAND_ERROR_IS_FATAL ANY)
  foreach(wanted IN ITEMS "GNU_RELRO" "FLAGS_1?[^\n]*NOW" "GNU_STACK[^\n]* RW " "Type: +DYN" "__stack_chk_fail"
                          "__[a-z]+_chk")
    if(NOT facts MATCHES "${wanted}")
      message(SEND_ERROR "${file}: ${wanted} is missing")
    endif()
  endforeach()
endforeach()
