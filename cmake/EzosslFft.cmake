# SPDX-License-Identifier: MIT
#
# The FFTs behind Common/src/fft_backend.h. Each that is found, here called <fft>, has
#   ezossl_<fft>      the FFT library itself
#   ezossl_fft_<fft>  that, and the file Common/src/fft_<fft>.cpp on top of it
# and stands in EZOSSL_FFTS. One of them becomes
#   ezossl_fft_library            what the library links
#   EZOSSL_FFT_CHOSEN             its name
#   EZOSSL_FFT_FROM_SOURCE        whether it is compiled in
#   EZOSSL_FFT_NEEDED             the shared library that it needs, if any
#   EZOSSL_FFT_REQUIRES_PRIVATE   the same as pkg-config knows it,
#   EZOSSL_FFT_LIBS_PRIVATE       or as the linker does
#   EZOSSL_FFT_DEBIAN_PACKAGE     and the Debian package to develop with it

set(EZOSSL_FFT auto CACHE STRING
    "FFT of the library: ne10, kissfft, or auto: Ne10 on Arm where it is found, else KISS FFT")
set_property(CACHE EZOSSL_FFT PROPERTY STRINGS auto ne10 kissfft)
set(EZOSSL_NE10_ROOT "" CACHE PATH "Folder to look for Ne10 in, besides the system")
set(EZOSSL_KISSFFT_SOURCE_DIR "" CACHE PATH
    "Source folder of KISS FFT: its code goes into the library instead of a needed library")
if(NOT EZOSSL_FFT MATCHES "^(auto|ne10|kissfft)$")
    message(FATAL_ERROR "EZOSSL_FFT is '${EZOSSL_FFT}'; there are auto, ne10, kissfft")
endif()
set(EZOSSL_FFTS "")

function(ezossl_add_fft name)
    add_library(ezossl_fft_${name}_objects OBJECT Common/src/fft_${name}.cpp)
    target_link_libraries(ezossl_fft_${name}_objects PRIVATE ezossl_arithmetic ezossl_freestanding
        ezossl_${name})
    set_target_properties(ezossl_fft_${name}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    add_library(ezossl_fft_${name} INTERFACE)
    target_sources(ezossl_fft_${name} INTERFACE $<TARGET_OBJECTS:ezossl_fft_${name}_objects>)
    target_link_libraries(ezossl_fft_${name} INTERFACE ezossl_${name})
    set(EZOSSL_FFTS ${EZOSSL_FFTS} ${name} PARENT_SCOPE)
endfunction()

# KISS FFT: two files of its source, or the system's library. Its package config shows the shared or
# the static library, whichever is asked for.
if(EZOSSL_KISSFFT_SOURCE_DIR)
    foreach(file kiss_fft.h kiss_fft.c kiss_fftr.h kiss_fftr.c)
        if(NOT EXISTS ${EZOSSL_KISSFFT_SOURCE_DIR}/${file})
            message(FATAL_ERROR "EZOSSL_KISSFFT_SOURCE_DIR: there is no ${file} in "
                "${EZOSSL_KISSFFT_SOURCE_DIR}; it must be the top folder of KISS FFT's source")
        endif()
    endforeach()
    add_library(ezossl_kissfft_objects OBJECT
        ${EZOSSL_KISSFFT_SOURCE_DIR}/kiss_fft.c ${EZOSSL_KISSFFT_SOURCE_DIR}/kiss_fftr.c)
    target_compile_options(ezossl_kissfft_objects PRIVATE -w -fvisibility=hidden)
    target_link_libraries(ezossl_kissfft_objects PRIVATE ezossl_arithmetic)
    set_target_properties(ezossl_kissfft_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    add_library(ezossl_kissfft INTERFACE)
    target_sources(ezossl_kissfft INTERFACE $<TARGET_OBJECTS:ezossl_kissfft_objects>)
    target_include_directories(ezossl_kissfft SYSTEM INTERFACE ${EZOSSL_KISSFFT_SOURCE_DIR})
    target_link_libraries(ezossl_kissfft INTERFACE m)
    ezossl_add_fft(kissfft)
else()
    find_package(kissfft CONFIG QUIET COMPONENTS SHARED)
    if(NOT TARGET kissfft::kissfft-float)
        find_package(kissfft CONFIG QUIET COMPONENTS STATIC)
    endif()
    if(TARGET kissfft::kissfft-float)
        add_library(ezossl_kissfft INTERFACE)
        target_link_libraries(ezossl_kissfft INTERFACE kissfft::kissfft-float)
        ezossl_add_fft(kissfft)
    endif()
endif()

# Ne10: on Arm. Without pkg-config: its .pc file names a library that does not exist. Who names a
# source folder of KISS FFT wants the bits of that one, and has no other beside it.
if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(arm|aarch64)")
    if(EZOSSL_FFT STREQUAL "ne10")
        message(FATAL_ERROR "Ne10 is for Arm and this build for ${CMAKE_SYSTEM_PROCESSOR}: "
            "-DEZOSSL_FFT=kissfft")
    endif()
elseif(EZOSSL_FFT STREQUAL "ne10" OR NOT EZOSSL_KISSFFT_SOURCE_DIR)
    set(ne10_folders ${EZOSSL_NE10_ROOT}/usr ${EZOSSL_NE10_ROOT})
    find_path(ne10_include ne10/NE10.h NO_CACHE HINTS ${ne10_folders} PATH_SUFFIXES include)
    find_library(ne10_library NE10 NO_CACHE HINTS ${ne10_folders}
        PATH_SUFFIXES lib/${CMAKE_LIBRARY_ARCHITECTURE} lib)
    if(ne10_include AND ne10_library)
        find_package(Threads REQUIRED)
        add_library(ezossl_ne10 INTERFACE)
        target_include_directories(ezossl_ne10 SYSTEM INTERFACE ${ne10_include})
        target_link_libraries(ezossl_ne10 INTERFACE ${ne10_library} Threads::Threads)
        ezossl_add_fft(ne10)
    elseif(EZOSSL_FFT STREQUAL "ne10")
        message(FATAL_ERROR "Ne10 is missing: apt-get install libne10-dev, or unpack that package "
            "and libne10-10 into a folder and name it in EZOSSL_NE10_ROOT")
    endif()
endif()

set(EZOSSL_FFT_CHOSEN ${EZOSSL_FFT})
if(EZOSSL_FFT STREQUAL "auto")
    set(EZOSSL_FFT_CHOSEN kissfft)
    if(TARGET ezossl_ne10)
        set(EZOSSL_FFT_CHOSEN ne10)
    endif()
endif()
if(NOT TARGET ezossl_fft_${EZOSSL_FFT_CHOSEN})
    message(FATAL_ERROR "KISS FFT (float) is missing: apt-get install libkissfft-dev, "
        "or name its source folder in EZOSSL_KISSFFT_SOURCE_DIR")
endif()
add_library(ezossl_fft_library INTERFACE)
target_link_libraries(ezossl_fft_library INTERFACE ezossl_fft_${EZOSSL_FFT_CHOSEN})
set(EZOSSL_FFT_FROM_SOURCE FALSE)
set(EZOSSL_FFT_NEEDED "")
set(EZOSSL_FFT_REQUIRES_PRIVATE "")
set(EZOSSL_FFT_LIBS_PRIVATE "")
set(EZOSSL_FFT_DEBIAN_PACKAGE "")
if(EZOSSL_FFT_CHOSEN STREQUAL "ne10")
    set(EZOSSL_FFT_NEEDED libNE10)
    set(EZOSSL_FFT_LIBS_PRIVATE -lNE10 -pthread) # its threads are in libc as of glibc 2.34 only
    set(EZOSSL_FFT_DEBIAN_PACKAGE libne10-dev)
    message(STATUS "FFT: Ne10, ${ne10_library}")
elseif(EZOSSL_KISSFFT_SOURCE_DIR)
    set(EZOSSL_FFT_FROM_SOURCE TRUE)
    message(STATUS "FFT: KISS FFT, compiled from ${EZOSSL_KISSFFT_SOURCE_DIR}")
else()
    set(EZOSSL_FFT_NEEDED libkissfft-float)
    set(EZOSSL_FFT_REQUIRES_PRIVATE kissfft-float)
    set(EZOSSL_FFT_DEBIAN_PACKAGE libkissfft-dev)
    message(STATUS "FFT: KISS FFT, the system's library")
endif()
