# The checker: a library of its own, so that the tests reach into it. It calls the engine; whatever links it brings the
# engine, shared or static.

file(GLOB check_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/check*.cpp)
add_library(cli_shell_check STATIC ${check_sources})
cli_engine_project_target(cli_shell_check)
cli_engine_ship(cli_shell_check)
target_include_directories(cli_shell_check PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
target_link_libraries(cli_shell_check PUBLIC PkgConfig::JANSSON ${CMAKE_DL_LIBS})
