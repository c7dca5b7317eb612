# SPDX-License-Identifier: MIT
#
# Install rules, and the files for find_package() and pkg-config.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# What a program links besides libezossl.a, by name, so that find_package() does not look for
# libraries that a program with the shared library does not need.
set(static_libraries ${EZOSSL_FFT_LIBS_PRIVATE} -lcjson -lm)
target_link_libraries(ezossl_static INTERFACE "$<INSTALL_INTERFACE:${static_libraries}>")

install(TARGETS ezossl EXPORT ezossl_shared
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ezossl_static EXPORT ezossl_static
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES src/EzoSsl.h TYPE INCLUDE)
if(EZOSSL_FFT_CHOSEN STREQUAL "ne10" AND EZOSSL_NE10_ROOT)
    # For the build folder only. CMake, which would remove the path as well, ends it with an empty
    # entry until then; see below.
    get_filename_component(ne10_folder "${ne10_library}" DIRECTORY)
    set_target_properties(ezossl PROPERTIES BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH "${ne10_folder}")
    install(CODE "file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libezossl.so.${PROJECT_VERSION}\")")
endif()

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ezossl)
install(EXPORT ezossl_shared NAMESPACE ezossl:: FILE ezosslShared.cmake DESTINATION ${config_dir})
install(EXPORT ezossl_static NAMESPACE ezossl:: FILE ezosslStatic.cmake DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ezosslConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES cmake/ezosslConfig.cmake ${PROJECT_BINARY_DIR}/ezosslConfigVersion.cmake
    DESTINATION ${config_dir})

# Paths in the .pc file are relative to the file, so that the tree may be moved, except in /usr.
set(prefix ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH libdir_of_prefix ${prefix} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH includedir_of_prefix ${prefix} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
file(RELATIVE_PATH prefix_of_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${prefix})
string(REGEX REPLACE "/$" "" prefix_of_pc "${prefix_of_pc}")
string(PREPEND prefix_of_pc "\${pcfiledir}/")
if(prefix STREQUAL "/usr")
    set(prefix_of_pc ${prefix})
endif()
list(JOIN EZOSSL_FFT_LIBS_PRIVATE " " fft_libs)
configure_file(cmake/ezossl.pc.in ezossl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ezossl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARGET ezossl_tool)
    # Below /usr the system finds the library; elsewhere it may not look for it. CMake would end the
    # path in the build folder with empty entries, each of which is the current folder, so the path
    # is changed here. The one in the build folder is as long as the other: "/." adds nothing.
    set(tool_path "")
    set(tool_path_in_build "$ORIGIN/..")
    if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        file(RELATIVE_PATH libdir_of_bindir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set(tool_path "$ORIGIN/${libdir_of_bindir}")
    endif()
    string(LENGTH "${tool_path}" needed)
    string(LENGTH "${tool_path_in_build}" length)
    while(length LESS needed)
        string(APPEND tool_path_in_build "/.")
        string(LENGTH "${tool_path_in_build}" length)
    endwhile()
    set_target_properties(ezossl_tool PROPERTIES BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH "${tool_path_in_build}")
    install(TARGETS ezossl_tool)
    set(change "RPATH_REMOVE FILE \"\${tool}\"")
    if(tool_path)
        string(REPLACE "$" "\\$" tool_path "${tool_path}")
        set(change "RPATH_SET FILE \"\${tool}\" NEW_RPATH \"${tool_path}\"")
    endif()
    install(CODE "set(tool \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/ezossl\")
file(${change})")
    install(FILES tools/completion/ezossl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES docs/ezossl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES docs/accuracy.md docs/accuracy-direction.svg docs/accuracy-snr.svg
        docs/accuracy-truth.svg TYPE DOC)
endif()
install(FILES LICENSE NOTICE CHANGELOG.md TYPE DOC)
