# SPDX-License-Identifier: MIT
#
# What the Debian cross compilers have in common. The including file sets EZOSSL_TRIPLET and
# EZOSSL_EMULATOR_NAME. Libraries come from the multi-arch packages of the target architecture, so
# there is no sysroot; programs for the target run under qemu-user.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${EZOSSL_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${EZOSSL_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${EZOSSL_TRIPLET})
# Without -L, so that the loader comes from those packages, too. With the loader of the cross
# compiler, which is of another release, programs that fork crash.
set(CMAKE_CROSSCOMPILING_EMULATOR ${EZOSSL_EMULATOR_NAME})

# The target's .pc files only: those of this machine would name its own libraries.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${EZOSSL_TRIPLET}/pkgconfig:/usr/share/pkgconfig)
