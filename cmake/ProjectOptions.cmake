# The language level and the warnings of every target of the project.
#   cli_engine_project_target(NAME)  applies them to one target

function(cli_engine_project_target name)
  target_compile_features(${name} PRIVATE cxx_std_20 c_std_11)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden
                                           VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  # GCC 12 warns of an overlap inside its own std::string when it optimises "literal" + std::string().
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
  # Files, folders and their numbers may be large on 32-bit machines too.
  target_compile_definitions(${name} PRIVATE _GNU_SOURCE _FILE_OFFSET_BITS=64)
  cli_engine_harden(${name})
endfunction()

# Builds that are shipped check buffers and stacks, and their programs and libraries are laid out so that no table of
# addresses stays writable. A sanitizer does the same work in its own way.
function(cli_engine_harden name)
  if(CMAKE_CXX_FLAGS MATCHES "fsanitize")
    return()
  endif()
  set(shipped $<CONFIG:Release,MinSizeRel,RelWithDebInfo>)
  target_compile_options(${name} PRIVATE $<${shipped}:-fstack-protector-strong> $<${shipped}:-U_FORTIFY_SOURCE>
                                         $<${shipped}:-D_FORTIFY_SOURCE=3>)
  target_link_options(${name} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  get_target_property(type ${name} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
endfunction()
