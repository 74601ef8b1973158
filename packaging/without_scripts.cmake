# Takes the scripts out that CPack puts into a Debian package with a shared library: the package's trigger has the dynamic
# linker's cache renewed, which is what they would do.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  cmake_path(REPLACE_EXTENSION package contents OUTPUT_VARIABLE folder)
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package} COMMAND_ERROR_IS_FATAL ANY
                  OUTPUT_QUIET)
  file(REMOVE_RECURSE ${folder})
endforeach()
