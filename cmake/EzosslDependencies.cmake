# SPDX-License-Identifier: MIT
#
# What the library needs besides an FFT: cJSON.

find_package(PkgConfig REQUIRED)
# Through pkg-config: the CMake config of the cJSON package breaks in sysroots.
pkg_check_modules(cjson QUIET IMPORTED_TARGET libcjson)
if(NOT cjson_FOUND)
    message(FATAL_ERROR "cJSON is missing: apt-get install libcjson-dev")
endif()
