# SPDX-License-Identifier: MIT
# 32-bit ARM, hard float, with Debian's cross compiler. tools/setup-armhf fills the sysroot folder with
# the libraries that the compiler's own packages lack.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

set(NVD_ARMHF_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot CACHE PATH
  "unpacked armhf packages")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES NVD_ARMHF_SYSROOT)
# Not CMAKE_SYSROOT: the C library and the kernel's headers come with the compiler.
set(CMAKE_FIND_ROOT_PATH ${NVD_ARMHF_SYSROOT} ${NVD_ARMHF_SYSROOT}/usr /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# Programs of the target run here as well: its tests do.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
