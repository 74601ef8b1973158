# The language level and the warnings of every target of the project.
#   project_target(NAME)  applies them to one target

function(project_target name)
  target_compile_features(${name} PRIVATE cxx_std_20 c_std_11)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden
                                           VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  # GCC 12 warns of an overlap inside its own std::string when it optimises "literal" + std::string().
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
  if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CROSSCOMPILING) # other compilers warn of other things
    target_compile_options(${name} PRIVATE -Werror)
  endif()
  target_compile_definitions(${name} PRIVATE _GNU_SOURCE)
endfunction()
