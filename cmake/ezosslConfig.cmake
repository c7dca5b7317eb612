# SPDX-License-Identifier: MIT
#
# Installed: what find_package(ezossl) reads. Distributions may leave libezossl.a out, or have it in
# a package of its own: ezossl::ezossl_static is there when the file is.

include(${CMAKE_CURRENT_LIST_DIR}/ezosslShared.cmake)
if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/../../libezossl.a)
    include(${CMAKE_CURRENT_LIST_DIR}/ezosslStatic.cmake)
endif()
