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
include(CheckCXXCompilerFlag)
set(CLI_ENGINE_HARDENING -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
foreach(flag IN ITEMS -fstack-clash-protection -fcf-protection -mbranch-protection=standard) # where the processor has it
  string(MAKE_C_IDENTIFIER "CLI_ENGINE_HAS${flag}" known)
  set(CMAKE_REQUIRED_FLAGS -Werror) # a compiler may take a flag only to say that it has no use for it
  check_cxx_compiler_flag(${flag} ${known})
  unset(CMAKE_REQUIRED_FLAGS)
  if(${known})
    list(APPEND CLI_ENGINE_HARDENING ${flag})
  endif()
endforeach()

function(cli_engine_harden name)
  if(CMAKE_CXX_FLAGS MATCHES "fsanitize")
    return()
  endif()
  target_compile_options(${name} PRIVATE "$<$<CONFIG:Release,MinSizeRel,RelWithDebInfo>:${CLI_ENGINE_HARDENING}>")
  target_link_options(${name} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  get_target_property(type ${name} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
endfunction()

# What packages bring has debug information, which goes to packages of its own, and does not tell where it was built.
function(cli_engine_ship name)
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-g>
                                         $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
  target_link_options(${name} PRIVATE -Wl,--build-id=sha1)
endfunction()
