# SPDX-License-Identifier: MIT
#
# Cross compiling with a compiler and a sysroot of your own: change the five values.
# cmake -S . -B build --toolchain toolchain.cmake -DEZOSSL_BUILD_TESTS=OFF -DEZOSSL_BUILD_TOOLS=OFF

set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_SYSROOT /opt/board/sysroot)
set(triplet arm-linux-gnueabihf) # of the compiler
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet}) # the subfolder of usr/lib, if the sysroot has one
set(emulator qemu-arm) # for the tests

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${CMAKE_SYSROOT})

# Programs of this machine; headers, libraries and .pc files of the sysroot only.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(library_folder ${CMAKE_SYSROOT}/usr/lib)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${library_folder}/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${library_folder}/pkgconfig)
