# SPDX-License-Identifier: MIT
#
# Installed, and read by find_package(ezossl). Distributions may omit libezossl.a or put it into a
# separate package, so ezossl::ezossl_static is defined only if the file exists.

include(${CMAKE_CURRENT_LIST_DIR}/ezosslShared.cmake)
if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/../../libezossl.a)
    include(${CMAKE_CURRENT_LIST_DIR}/ezosslStatic.cmake)
endif()
