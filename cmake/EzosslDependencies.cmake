# SPDX-License-Identifier: MIT
#
# What the library needs besides an FFT: cJSON.

find_package(PkgConfig REQUIRED)
set(EZOSSL_CJSON_SOURCE_DIR "" CACHE PATH
    "Source folder of cJSON: compiled in, with the flags of this build, for sanitizers and fuzzers")
if(EZOSSL_CJSON_SOURCE_DIR)
    add_library(ezossl_cjson OBJECT ${EZOSSL_CJSON_SOURCE_DIR}/cJSON.c)
    target_compile_options(ezossl_cjson PRIVATE -w)
    target_include_directories(ezossl_cjson SYSTEM INTERFACE ${EZOSSL_CJSON_SOURCE_DIR})
    add_library(ezossl_cjson_linked INTERFACE)
    target_link_libraries(ezossl_cjson_linked INTERFACE ezossl_cjson)
    target_sources(ezossl_cjson_linked INTERFACE $<TARGET_OBJECTS:ezossl_cjson>)
    add_library(PkgConfig::cjson ALIAS ezossl_cjson_linked)
    return()
endif()
# Through pkg-config: the CMake config of the cJSON package breaks in sysroots.
pkg_check_modules(cjson QUIET IMPORTED_TARGET libcjson)
if(NOT cjson_FOUND)
    message(FATAL_ERROR "cJSON is missing: apt-get install libcjson-dev")
endif()
