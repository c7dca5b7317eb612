# SPDX-License-Identifier: MIT
#
# Debian packages by CPack, one of each component, for the architecture that is compiled for.
# packages.sh sets what is asked for here, and makes them.

if(NOT EZOSSL_INSTALL OR NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    message(FATAL_ERROR "EZOSSL_PACKAGES needs -DEZOSSL_INSTALL=ON -DCMAKE_INSTALL_PREFIX=/usr")
endif()

set(debian ${PROJECT_BINARY_DIR}/debian) # the files made for the packages
set(CPACK_GENERATOR DEB)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/EzosslDebFinish.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL libezossl1 libezossl-dev)
if(TARGET ezossl_tool)
    list(APPEND CPACK_COMPONENTS_ALL ezossl-tools)
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE ezossl)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "ezossl developers <ezossl@example.org>" CACHE STRING
    "Who answers for the Debian packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # every package has its own
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

function(describe package section text)
    string(TOUPPER ${package} id)
    set(CPACK_DEBIAN_${id}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${id}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${id}_DESCRIPTION ${text} PARENT_SCOPE)
endfunction()
string(TOLOWER "${PROJECT_DESCRIPTION}" summary)
describe(libezossl1 libs "${summary} (library)
A program passes in frames of samples and has the direction of the dominant
sound after every block, in whole degrees, through a C interface.")
describe(libezossl-dev libdevel "${summary} (development)
What a program that uses libezossl is compiled with: the header, the static
library, and files by which CMake and pkg-config find them.")
describe(ezossl-tools sound "${summary} (command line)
ezossl finds the direction of sound in recordings and live from a sound card,
checks the wiring of the microphones, and simulates scenes to try it with.")
set(CPACK_COMPONENT_LIBEZOSSL-DEV_DEPENDS libezossl1)
set(dev_depends libcjson-dev ${EZOSSL_FFT_DEBIAN_PACKAGE})
list(JOIN dev_depends ", " CPACK_DEBIAN_LIBEZOSSL-DEV_PACKAGE_DEPENDS)
set(CPACK_COMPONENT_EZOSSL-TOOLS_DEPENDS libezossl1)

# What the packages have besides.
file(MAKE_DIRECTORY ${debian})
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/cmake/debian-files.sh ${debian}
    ${CPACK_DEBIAN_PACKAGE_MAINTAINER} COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    CHANGELOG.md LICENSE NOTICE docs/ezossl.1 cmake/debian-files.sh)
foreach(package IN LISTS CPACK_COMPONENTS_ALL)
    install(FILES ${debian}/copyright ${debian}/changelog.gz COMPONENT ${package} EXCLUDE_FROM_ALL
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package})
endforeach()
install(FILES ${debian}/ezossl.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT ezossl-tools EXCLUDE_FROM_ALL)

# The change log's newest entry is this version, and its day the time of all files in the packages.
# dpkg-shlibdeps is told what it is run for.
function(ask variable)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    set(${variable} ${answer} PARENT_SCOPE)
endfunction()
ask(CPACK_DEBIAN_PACKAGE_VERSION dpkg-parsechangelog -l ${debian}/changelog -S Version)
if(NOT CPACK_DEBIAN_PACKAGE_VERSION VERSION_EQUAL PROJECT_VERSION)
    message(FATAL_ERROR "The newest entry of CHANGELOG.md is ${CPACK_DEBIAN_PACKAGE_VERSION}, "
        "the project's version ${PROJECT_VERSION}")
endif()
ask(changelog_time dpkg-parsechangelog -l ${debian}/changelog -S Timestamp)
ask(CPACK_DEBIAN_PACKAGE_ARCHITECTURE
    dpkg-architecture -T ${CMAKE_LIBRARY_ARCHITECTURE} -q DEB_TARGET_ARCH)
set(CPACK_PROJECT_CONFIG_FILE ${debian}/environment.cmake)
file(CONFIGURE OUTPUT ${CPACK_PROJECT_CONFIG_FILE} @ONLY CONTENT
"set(ENV{DEB_HOST_ARCH} @CPACK_DEBIAN_PACKAGE_ARCHITECTURE@)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} @changelog_time@)
endif()
")

include(CPack)
