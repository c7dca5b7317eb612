# SPDX-License-Identifier: MIT
#
# Run by CPack with the packages that it has made: what it has no variables for. The libraries of
# several architectures may be installed side by side, and a trigger runs ldconfig, not scripts.

foreach(deb IN LISTS CPACK_PACKAGE_FILES)
    if(NOT deb MATCHES "/lib[^/]*$")
        continue()
    endif()
    set(tree ${deb}.tree)
    execute_process(COMMAND dpkg-deb --raw-extract ${deb} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(READ ${tree}/DEBIAN/control control)
    string(REPLACE "\nPackage:" "\nMulti-Arch: same\nPackage:" control "${control}")
    file(WRITE ${tree}/DEBIAN/control "${control}")
    if(EXISTS ${tree}/DEBIAN/shlibs)
        file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
        file(WRITE ${tree}/DEBIAN/triggers "activate-noawait ldconfig\n")
    endif()
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${tree} ${deb} OUTPUT_QUIET
        COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
endforeach()
