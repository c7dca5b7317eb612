# SPDX-License-Identifier: MIT
#
# Flags as interface targets: a target gets its flags by linking them.

# The top-level project decides on the build type and the compile commands.
if(top_level)
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE Release)
    endif()
    set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()
if(NOT CMAKE_CXX_STANDARD MATCHES "^(17|2.)$")
    set(CMAKE_CXX_STANDARD 17)
endif()
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

# Release builds contain no path and no time, so they are the same wherever they are built. Debug
# builds keep their paths, by which a debugger finds the sources.
set(shipped "$<OR:$<CONFIG:Release>,$<CONFIG:MinSizeRel>>")
add_compile_options("$<${shipped}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
    "$<${shipped}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_C_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
set(CMAKE_C_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")

# Builds of ezossl itself are hardened. A project that includes it chooses its own flags, and so
# does a builder who sets such flags. Sanitizers detect more than these flags.
if(top_level AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "-fsanitize=")
    include(CheckCXXCompilerFlag)
    foreach(flag -fstack-protector-strong -fstack-clash-protection
            -fcf-protection=full # x86: jumps and returns
            -mbranch-protection=standard) # arm64: the same
        string(REGEX REPLACE "^(-[a-z]+-[a-z]+).*$" "\\1" family "${flag}")
        string(MAKE_C_IDENTIFIER "ezossl_has${flag}" has)
        set(CMAKE_REQUIRED_FLAGS -Werror)
        check_cxx_compiler_flag(${flag} ${has})
        unset(CMAKE_REQUIRED_FLAGS)
        if(${has} AND NOT "${CMAKE_CXX_FLAGS}" MATCHES "${family}")
            add_compile_options(${flag})
        endif()
    endforeach()
    if(NOT "${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE") # which needs optimisation
        add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
    endif()
    add_link_options(LINKER:-z,relro,-z,now)
endif()

# Results are fixed to the operation: no fused multiply-add, no reordering. Calls of the math
# library need not set errno, which nobody reads.
add_library(ezossl_arithmetic INTERFACE)
target_compile_options(ezossl_arithmetic INTERFACE -ffp-contract=off -fno-fast-math -fno-math-errno)

# Warnings are for developers of this project, not for projects that include it.
add_library(ezossl_basic_warnings INTERFACE)
add_library(ezossl_warnings INTERFACE)
target_link_libraries(ezossl_warnings INTERFACE ezossl_basic_warnings)
if(top_level)
    # Tests mix float and double in their expected values, so they get the basic warnings only.
    target_compile_options(ezossl_basic_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow
        -Wformat-security -Wundef $<$<BOOL:${EZOSSL_WERROR}>:-Werror>)
    # clang takes the explicit double{x} for an implicit promotion.
    target_compile_options(ezossl_warnings INTERFACE -Wconversion -Wsign-conversion
        $<$<CXX_COMPILER_ID:GNU>:-Wdouble-promotion> -Wcast-qual
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor>
        $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
endif()

# The library itself: no exceptions, no type information, no guards, nothing exported unless marked.
add_library(ezossl_freestanding INTERFACE)
target_compile_options(ezossl_freestanding INTERFACE -fno-exceptions -fno-rtti
    -fno-threadsafe-statics -fvisibility=hidden -ffunction-sections -fdata-sections)
target_link_libraries(ezossl_freestanding INTERFACE ezossl_warnings)
