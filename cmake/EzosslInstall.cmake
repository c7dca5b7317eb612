# SPDX-License-Identifier: MIT
#
# Install rules, and what find_package() and pkg-config need of the installed files. The components
# are the Debian packages that they become; "documentation" is what those have in their own form.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# What a program links besides libezossl.a, by name: so find_package() looks for nothing that a
# program with the shared library does without.
set(static_libraries ${EZOSSL_FFT_LIBS_PRIVATE} -lcjson -lm)
target_link_libraries(ezossl_static INTERFACE "$<INSTALL_INTERFACE:${static_libraries}>")

install(TARGETS ezossl EXPORT ezossl_shared
    LIBRARY COMPONENT libezossl1 NAMELINK_COMPONENT libezossl-dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ezossl_static EXPORT ezossl_static
    ARCHIVE COMPONENT libezossl-dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES src/EzoSsl.h TYPE INCLUDE COMPONENT libezossl-dev)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ezossl)
install(EXPORT ezossl_shared NAMESPACE ezossl:: FILE ezosslShared.cmake DESTINATION ${config_dir}
    COMPONENT libezossl-dev)
install(EXPORT ezossl_static NAMESPACE ezossl:: FILE ezosslStatic.cmake DESTINATION ${config_dir}
    COMPONENT libezossl-dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ezosslConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES cmake/ezosslConfig.cmake ${PROJECT_BINARY_DIR}/ezosslConfigVersion.cmake
    DESTINATION ${config_dir} COMPONENT libezossl-dev)

# Paths in the .pc file start at the file itself: the tree may be moved. Not so the system's own.
set(prefix ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH libdir_of_prefix ${prefix} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH includedir_of_prefix ${prefix} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
cmake_path(RELATIVE_PATH prefix BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE prefix_of_pc)
string(PREPEND prefix_of_pc "\${pcfiledir}/")
if(prefix STREQUAL "/usr")
    set(prefix_of_pc ${prefix})
endif()
list(JOIN EZOSSL_FFT_LIBS_PRIVATE " " fft_libs)
configure_file(cmake/ezossl.pc.in ezossl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ezossl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT libezossl-dev)

if(TARGET ezossl_tool)
    # Below /usr the system finds the library; elsewhere it may not look for it.
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        file(RELATIVE_PATH libdir_of_bindir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(ezossl_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${libdir_of_bindir}")
    endif()
    install(TARGETS ezossl_tool COMPONENT ezossl-tools)
    install(FILES tools/completion/ezossl COMPONENT ezossl-tools
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES docs/ezossl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT documentation)
endif()
install(FILES LICENSE NOTICE CHANGELOG.md TYPE DOC COMPONENT documentation)
