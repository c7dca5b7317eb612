# SPDX-License-Identifier: MIT
#
# The FFTs behind Common/src/fft_backend.h. Each that can be built, here called <fft>, has a target
#   ezossl_fft_<fft>  its files in Common/src and what they link
# and its name in EZOSSL_FFTS. One of them becomes
#   ezossl_fft_library         what the library links
#   EZOSSL_FFT_CHOSEN          its name
#   EZOSSL_FFT_NEEDED          the shared library that it needs, if any,
#   EZOSSL_FFT_LIBS_PRIVATE    the same as the linker knows it
#   EZOSSL_FFT_DEBIAN_PACKAGE  and the Debian package to develop with it

set(EZOSSL_FFT auto CACHE STRING
    "FFT of the library: builtin, ne10, or auto: Ne10 on 32-bit Arm where it is found, else builtin")
set_property(CACHE EZOSSL_FFT PROPERTY STRINGS auto builtin ne10)
set(EZOSSL_NE10_ROOT "" CACHE PATH "Folder to look for Ne10 in, besides the system")
if(NOT EZOSSL_FFT MATCHES "^(auto|builtin|ne10)$")
    message(FATAL_ERROR "EZOSSL_FFT is '${EZOSSL_FFT}'; choose auto, builtin or ne10")
endif()
set(EZOSSL_FFTS "")

# ezossl_add_fft(NAME LIBRARIES FILE...)
function(ezossl_add_fft name libraries)
    list(TRANSFORM ARGN PREPEND ${PROJECT_SOURCE_DIR}/Common/src/ OUTPUT_VARIABLE files)
    add_library(ezossl_fft_${name}_objects OBJECT ${files})
    target_link_libraries(ezossl_fft_${name}_objects PRIVATE ezossl_arithmetic ezossl_freestanding
        ${libraries})
    set_target_properties(ezossl_fft_${name}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    add_library(ezossl_fft_${name} INTERFACE)
    target_sources(ezossl_fft_${name} INTERFACE $<TARGET_OBJECTS:ezossl_fft_${name}_objects>)
    target_link_libraries(ezossl_fft_${name} INTERFACE ${libraries})
    set(EZOSSL_FFTS ${EZOSSL_FFTS} ${name} PARENT_SCOPE)
endfunction()

ezossl_add_fft(builtin "" fft_builtin.cpp fft_twiddles.cpp)

# Ne10: on Arm. Without pkg-config: its .pc file names a library that does not exist.
if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(arm|aarch64)")
    if(EZOSSL_FFT STREQUAL "ne10")
        message(FATAL_ERROR "Ne10 is for Arm and this build for ${CMAKE_SYSTEM_PROCESSOR}: "
            "-DEZOSSL_FFT=builtin")
    endif()
else()
    set(ne10_folders ${EZOSSL_NE10_ROOT}/usr ${EZOSSL_NE10_ROOT})
    find_path(ne10_include ne10/NE10.h NO_CACHE HINTS ${ne10_folders} PATH_SUFFIXES include)
    find_library(ne10_library NE10 NO_CACHE HINTS ${ne10_folders}
        PATH_SUFFIXES lib/${CMAKE_LIBRARY_ARCHITECTURE} lib)
    if(ne10_include AND ne10_library)
        find_package(Threads REQUIRED)
        add_library(ezossl_ne10 INTERFACE)
        target_include_directories(ezossl_ne10 SYSTEM INTERFACE ${ne10_include})
        target_link_libraries(ezossl_ne10 INTERFACE ${ne10_library} Threads::Threads)
        ezossl_add_fft(ne10 ezossl_ne10 fft_ne10.cpp)
    elseif(EZOSSL_FFT STREQUAL "ne10")
        message(FATAL_ERROR "Ne10 is missing: apt-get install libne10-dev, or unpack that package "
            "and libne10-10 into a folder and name it in EZOSSL_NE10_ROOT")
    endif()
endif()

# On 64-bit Arm the built-in FFT is nearly as fast as Ne10, and gives the same bits everywhere.
set(EZOSSL_FFT_CHOSEN ${EZOSSL_FFT})
if(EZOSSL_FFT STREQUAL "auto")
    set(EZOSSL_FFT_CHOSEN builtin)
    if(TARGET ezossl_fft_ne10 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
        set(EZOSSL_FFT_CHOSEN ne10)
    endif()
endif()
add_library(ezossl_fft_library INTERFACE)
target_link_libraries(ezossl_fft_library INTERFACE ezossl_fft_${EZOSSL_FFT_CHOSEN})
set(EZOSSL_FFT_NEEDED "")
set(EZOSSL_FFT_LIBS_PRIVATE "")
set(EZOSSL_FFT_DEBIAN_PACKAGE "")
if(EZOSSL_FFT_CHOSEN STREQUAL "ne10")
    set(EZOSSL_FFT_NEEDED libNE10)
    set(EZOSSL_FFT_LIBS_PRIVATE -lNE10 -pthread) # libc has the thread functions only from glibc 2.34
    set(EZOSSL_FFT_DEBIAN_PACKAGE libne10-dev)
    message(STATUS "FFT: Ne10, ${ne10_library}")
else()
    message(STATUS "FFT: built in")
endif()
