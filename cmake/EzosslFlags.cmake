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

add_library(ezossl_warnings INTERFACE)
target_compile_options(ezossl_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion
    -Wsign-conversion -Wshadow -Wdouble-promotion -Wcast-qual -Wformat-security -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
    $<$<BOOL:${EZOSSL_WERROR}>:-Werror>)

# The library itself: no exceptions, no type information, no guards, nothing exported unless marked.
add_library(ezossl_freestanding INTERFACE)
target_compile_options(ezossl_freestanding INTERFACE -fno-exceptions -fno-rtti
    -fno-threadsafe-statics -fvisibility=hidden -ffunction-sections -fdata-sections)
target_link_libraries(ezossl_freestanding INTERFACE ezossl_warnings)
