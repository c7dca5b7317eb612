# SPDX-License-Identifier: MIT
#
# 32-bit Arm with hardware floating point (Debian armhf: ARMv7, VFPv3), with Debian's cross
# compiler.

set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(EZOSSL_TRIPLET arm-linux-gnueabihf)
set(EZOSSL_EMULATOR_NAME qemu-arm)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi) # no notes on how g++ before 7 passed parameters
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
