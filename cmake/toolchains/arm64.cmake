# SPDX-License-Identifier: MIT
#
# 64-bit Arm (Debian arm64), with Debian's cross compiler.

set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(EZOSSL_TRIPLET aarch64-linux-gnu)
set(EZOSSL_EMULATOR_NAME qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
