# Mends what CPack makes of the Debian packages: takes out the scripts of the one with the shared library, whose trigger
# has the dynamic linker's cache renewed as they would do, and the folder of the build from the checksums of those with
# debug symbols.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  cmake_path(REPLACE_EXTENSION package contents OUTPUT_VARIABLE folder)
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
  file(READ ${folder}/DEBIAN/md5sums sums)
  string(REGEX REPLACE "  /[^\n]*-dbgsym/" "  " sums "${sums}")
  file(WRITE ${folder}/DEBIAN/md5sums "${sums}")
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package} COMMAND_ERROR_IS_FATAL ANY
                  OUTPUT_QUIET)
  file(REMOVE_RECURSE ${folder})
endforeach()
