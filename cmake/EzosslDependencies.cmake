# SPDX-License-Identifier: MIT
#
# What the library needs: KISS FFT (float) and cJSON.

find_package(PkgConfig REQUIRED)
# Its package config shows the shared or the static library, whichever is asked for.
find_package(kissfft CONFIG QUIET COMPONENTS SHARED)
if(NOT TARGET kissfft::kissfft-float)
    find_package(kissfft CONFIG QUIET COMPONENTS STATIC)
endif()
if(NOT TARGET kissfft::kissfft-float)
    message(FATAL_ERROR "KISS FFT (float) is missing: apt-get install libkissfft-dev")
endif()
# Through pkg-config: the CMake config of the cJSON package breaks in sysroots.
pkg_check_modules(cjson QUIET IMPORTED_TARGET libcjson)
if(NOT cjson_FOUND)
    message(FATAL_ERROR "cJSON is missing: apt-get install libcjson-dev")
endif()
