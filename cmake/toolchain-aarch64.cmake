# Cross-compiling for 64-bit ARM with Debian's own cross compiler
# (crossbuild-essential-arm64) against the arm64 multiarch development
# packages. Test programs run under qemu-aarch64 through CMake's
# cross-compiling emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(PALM_CROSS_TRIPLE aarch64-linux-gnu)
set(CMAKE_C_COMPILER ${PALM_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${PALM_CROSS_TRIPLE}-g++)

# Multiarch: headers under /usr/include (shared) and /usr/include/aarch64-linux-gnu,
# libraries under /usr/lib/aarch64-linux-gnu, CMake package files under
# /usr/lib/aarch64-linux-gnu/cmake. Programs are the build machine's.
set(CMAKE_LIBRARY_ARCHITECTURE ${PALM_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH /usr/${PALM_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

find_program(PALM_QEMU_AARCH64 qemu-aarch64)
# The programs load the arm64 multiarch C library (libc6:arm64, which the
# development packages pull in) through its own loader in /lib. The cross
# compiler's copy under /usr/aarch64-linux-gnu is only a fallback: it can be
# a different Debian revision, and a loader of one revision with the C
# library of another hangs in the first thread creation.
if(PALM_QEMU_AARCH64)
  if(EXISTS /lib/ld-linux-aarch64.so.1)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PALM_QEMU_AARCH64})
  else()
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PALM_QEMU_AARCH64};-L;/usr/${PALM_CROSS_TRIPLE})
  endif()
endif()

set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
