# Facts of each shipped file: relocated tables are read-only, the stack is not executable, code is position independent,
# buffers and stacks are checked.
#   cmake -DFILES=FILE;... -DREADELF=readelf -DOBJDUMP=objdump -P hardening.cmake
foreach(file IN LISTS FILES)
  execute_process(COMMAND ${OBJDUMP} -d ${file} OUTPUT_VARIABLE code COMMAND_ERROR_IS_FATAL ANY)
  if(code MATCHES "file format elf64-x86-64" AND NOT code MATCHES "endbr64")
    message(SEND_ERROR "${file}: jumps may go anywhere")
  endif()
  execute_process(COMMAND ${READELF} -hldW --dyn-syms ${file} OUTPUT_VARIABLE facts COMMAND_ERROR_IS_FATAL ANY)
  foreach(wanted IN ITEMS "GNU_RELRO" "FLAGS_1?[^\n]*NOW" "GNU_STACK[^\n]* RW " "Type: +DYN" "__stack_chk_fail"
                          "__[a-z]+_chk")
    if(NOT facts MATCHES "${wanted}")
      message(SEND_ERROR "${file}: ${wanted} is missing")
    endif()
  endforeach()
endforeach()
