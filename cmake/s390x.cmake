# Big-endian 64-bit s390x on Debian: the cross compiler, the architecture's own packages, programs run by qemu.
set(target s390x-linux-gnu)
set(emulator qemu-s390x)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
