# What `cmake --install` puts where, and the Debian packages made of it.
#   runtime      libcli_engine.so.N
#   development  headers, static library, CMake package, pkg-config file, manual of the library
#   python       the package of bindings/python
#   shell        cli-shell, schemas, its manual pages, the examples

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/cli_engine)

install(TARGETS cli_engine_shared cli_engine_static EXPORT cli_engine_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY cli_engine libglobal DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h")
install(EXPORT cli_engine_targets NAMESPACE cli_engine:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/cli_engine-config.cmake.in
                              ${PROJECT_BINARY_DIR}/cli_engine-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cli_engine-config-version.cmake COMPATIBILITY SameMajorVersion)
# Found from where the file lies, so that the tree may be moved.
file(RELATIVE_PATH prefix_from_pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
list(TRANSFORM CMAKE_DL_LIBS PREPEND -l OUTPUT_VARIABLE libraries_private)
configure_file(${PROJECT_SOURCE_DIR}/packaging/cli_engine.pc.in ${PROJECT_BINARY_DIR}/cli_engine.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cli_engine-config.cmake ${PROJECT_BINARY_DIR}/cli_engine-config-version.cmake
        DESTINATION ${package_dir} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/cli_engine.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Compressed, as Debian wants it.
function(install_manual page component)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS docs/man/${page})
  execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/docs/man/${page} OUTPUT_FILE ${PROJECT_BINARY_DIR}/${page}.gz)
  cmake_path(GET page EXTENSION LAST_ONLY section)
  string(REPLACE "." "man" folder ${section})
  install(FILES ${PROJECT_BINARY_DIR}/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/${folder} COMPONENT ${component})
endfunction()

install_manual(cli_engine.3 development)
if(TARGET cli-shell)
  # It finds the library from where it lies itself, in the build as installed: a file once linked stays as it is.
  file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(cli-shell PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN/${libraries}")
  cmake_path(SET build_libraries NORMALIZE ${PROJECT_BINARY_DIR}/cli_shell/${libraries})
  cmake_path(GET build_libraries PARENT_PATH build_libraries_parent)
  file(MAKE_DIRECTORY ${build_libraries_parent})
  file(RELATIVE_PATH build_library ${build_libraries_parent} ${PROJECT_BINARY_DIR}/cli_engine)
  file(CREATE_LINK ${build_library} ${build_libraries} SYMBOLIC)
  install(TARGETS cli-shell RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT shell)
  install(FILES ${PROJECT_SOURCE_DIR}/cli_shell/plugin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/cli_shell
          COMPONENT development)
  file(GLOB schemas CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/schema/*.schema.json)
  install(FILES ${schemas} DESTINATION ${CMAKE_INSTALL_DATADIR}/cli-shell/schema COMPONENT shell)
  install_manual(cli-shell.1 shell)
  install_manual(cli-definition.5 shell)
endif()
if(TARGET router_handlers AND TARGET cli-shell)
  # The example to be read and copied, and its handlers ready to run: cli-shell has loaded the library before them.
  set(router_dir ${CMAKE_INSTALL_DATADIR}/doc/cli-shell/examples/router)
  set_target_properties(router_handlers PROPERTIES SKIP_BUILD_RPATH ON)
  install(TARGETS router_handlers LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/cli-shell COMPONENT shell)
  install(DIRECTORY examples/router/ DESTINATION ${router_dir} COMPONENT shell)
  install(DIRECTORY examples/switch DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/cli-shell/examples COMPONENT shell)
  file(RELATIVE_PATH handlers ${CMAKE_INSTALL_PREFIX}/${router_dir}
       ${CMAKE_INSTALL_FULL_LIBDIR}/cli-shell/router_handlers.so)
  file(CREATE_LINK ${handlers} ${PROJECT_BINARY_DIR}/router_handlers.so SYMBOLIC)
  install(FILES ${PROJECT_BINARY_DIR}/router_handlers.so DESTINATION ${router_dir} COMPONENT shell)
endif()

# ---- Debian packages ----

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cli-engine)
set(CPACK_PACKAGE_CONTACT "libcli_engine maintainers <maintainers@cli-engine.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
if(CMAKE_CROSSCOMPILING) # CPack would take this machine's tools
  set(CPACK_STRIP_FILES ON)
else()
  set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON) # strips the files as well
endif()
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/before_packing.cmake)
set(CPACK_COMPONENTS_ALL runtime development python)
if(TARGET cli-shell)
  list(APPEND CPACK_COMPONENTS_ALL shell)
endif()
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(CMAKE_CROSSCOMPILING)
  # dpkg-shlibdeps asks the packages of this machine, which has none of that architecture.
  set(runtime_libraries "libc6 (>= 2.34), libjansson4 (>= 2.14)")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${runtime_libraries}")
  set(shell_libraries ", ${runtime_libraries}, libcrypt1, libgcc-s1 (>= 3.5), libstdc++6 (>= 11), libre2-9 (>= 20220601+dfsg)")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/cli_engine)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_OBJCOPY ${CMAKE_OBJCOPY})
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/after_packing.cmake)

set(runtime_package libcli-engine${CLI_ENGINE_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
# What packages built against the library depend on, and the cache of the dynamic linker.
file(WRITE ${PROJECT_BINARY_DIR}/shlibs
     "libcli_engine ${CLI_ENGINE_SOVERSION} ${runtime_package} (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/shlibs ${PROJECT_BINARY_DIR}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library: a host program declares a command language in
 a JSON document and feeds the library one line at a time.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcli-engine-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), libjansson-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, static library, CMake package, pkg-config file and manual.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-cli-engine)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${runtime_package} (>= ${PROJECT_VERSION}), python3 (>= 3.9)")
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "The library from Python: engines with handlers that are Python functions.")
set(CPACK_DEBIAN_SHELL_PACKAGE_NAME cli-shell)
set(CPACK_DEBIAN_SHELL_PACKAGE_SECTION shells)
set(CPACK_DEBIAN_SHELL_PACKAGE_DEPENDS
    "${runtime_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})${shell_libraries}")
set(CPACK_DEBIAN_SHELL_PACKAGE_RECOMMENDS less)
set(CPACK_COMPONENT_SHELL_DESCRIPTION "cli-shell, a host for every command language of libcli_engine, with
 the schemas and the manual of the documents that declare one.")

foreach(row IN ITEMS runtime:${runtime_package} development:libcli-engine-dev python:python3-cli-engine
        shell:cli-shell)
  string(REPLACE ":" ";" row ${row})
  list(GET row 0 component)
  list(GET row 1 package)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component})
  install(FILES ${PROJECT_BINARY_DIR}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component})
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.Debian.in ${PROJECT_BINARY_DIR}/changelog.Debian @ONLY)
execute_process(COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/changelog.Debian
                OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.Debian.gz)
include(CPack)
