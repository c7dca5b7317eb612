# Flags as interface targets: what a target is built with is what it links.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Results are fixed to the operation: no fused multiply-add, no reordering. Calls of the math
# library need not set errno, which nobody reads.
add_library(ezossl_arithmetic INTERFACE)
target_compile_options(ezossl_arithmetic INTERFACE -ffp-contract=off -fno-fast-math -fno-math-errno)

# Tests compute what they expect in double and by hand: they have the basic warnings only.
add_library(ezossl_basic_warnings INTERFACE)
target_compile_options(ezossl_basic_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow
    -Wformat-security -Wundef $<$<BOOL:${EZOSSL_WERROR}>:-Werror>)
add_library(ezossl_warnings INTERFACE)
target_compile_options(ezossl_warnings INTERFACE -Wconversion -Wsign-conversion -Wdouble-promotion
    -Wcast-qual
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
target_link_libraries(ezossl_warnings INTERFACE ezossl_basic_warnings)

# The library itself: no exceptions, no type information, no guards, nothing exported unless marked.
add_library(ezossl_freestanding INTERFACE)
target_compile_options(ezossl_freestanding INTERFACE -fno-exceptions -fno-rtti
    -fno-threadsafe-statics -fvisibility=hidden -ffunction-sections -fdata-sections)
target_link_libraries(ezossl_freestanding INTERFACE ezossl_warnings)
