#!/bin/bash
# SPDX-License-Identifier: MIT
# test_install.sh BUILD_DIR CONFIG LIBDIR - the installed files are complete and may be moved.
# Programs in C and C++ are built with them by find_package() and by pkg-config, shared and static,
# and as part of a project in C; all find the angle of a scene that the installed tool makes. In the
# environment: what CMake, compilers and pkg-config read there; EMULATOR, which starts programs;
# LIBRARIES, a folder of other libraries.
set -euo pipefail
source=$(realpath "$(dirname "$0")/..") build=$(realpath "$1") config=$2 lib=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
fail() {
    echo "$*" >&2
    exit 1
}

DESTDIR=$work/stage cmake --install "$build" --config "$config" --prefix /opt/ezossl >install.log
mv stage/opt/ezossl moved
rmdir -p stage/opt || fail 'files outside the prefix'
(cd moved && find . ! -type d | sort) >found.txt
printf './%s\n' bin/ezossl include/EzoSsl.h "$lib"/libezossl.{a,so,so.1,so.1.4.0} \
    "$lib"/cmake/ezossl/ezossl{Config,ConfigVersion}.cmake \
    "$lib"/cmake/ezossl/ezossl{Shared,Static}{,-"${config,,}"}.cmake \
    "$lib"/pkgconfig/ezossl.pc share/bash-completion/completions/ezossl share/man/man1/ezossl.1 \
    share/doc/ezossl/{CHANGELOG.md,LICENSE,NOTICE} \
    share/doc/ezossl/accuracy{.md,-direction.svg,-snr.svg,-truth.svg} |
    sort >expected.txt
diff expected.txt found.txt || fail 'the files are not those that should be installed'
readelf -d moved/bin/ezossl moved/"$lib"/libezossl.so >dynamic.txt
paths=$(sed -nE 's/.*R(UN)?PATH.*\[(.*)\]/\2/p' dynamic.txt)
if grep -q '^CMAKE_INSTALL_PREFIX:[A-Z]*=/usr$' "$build/CMakeCache.txt"; then
    [ -z "$paths" ] || fail "a path is left: $paths"
else # the tool finds the library relative to itself, and no file has a path of the build
    [ "$paths" = "\$ORIGIN/../$lib" ] || fail "the tool looks for the library in '$paths'"
fi

export LD_LIBRARY_PATH=$work/moved/$lib:$work/libraries DML_PATH=$work/errors.json
if [ -n "${LIBRARIES:-}" ]; then
    ln -s "$LIBRARIES" libraries # flags have no blanks then
    export LDFLAGS="-L$work/libraries -Wl,-rpath-link,$work/libraries"
fi
run() { # PROGRAM ARGUMENT...
    ${EMULATOR:-} "$@"
}
echo '{"debug_level": 1}' >errors.json
run moved/bin/ezossl simulate -a 30 -s 5.8cm -r 16000 -d 1 -o scene.wav 2>simulate.log
finds_angle() { # PROGRAM...
    local program
    for program in "$@"; do
        tail -c +45 scene.wav | run "$program" 16000 5.8 >answer.txt # without the header
        awk '$3 == "angle" && ($4 - 30)^2 <= 16 { good++ } END { exit !(good == 3 && NR == 3) }' \
            answer.txt || fail "$program does not find the angle"
    done
}
is_static() { # PROGRAM
    readelf -d "$1" >dynamic.txt && ! grep libezossl dynamic.txt
}

consumer() { # FOLDER OPTION... - builds the project in tests/install
    if ! { cmake -S "$source/tests/install" -B "$@" && cmake --build "$1" --parallel 2; } \
        >"$1.log" 2>&1; then
        cat "$1.log" && fail "$1: the project is not built"
    fi
    finds_angle "$1"/ezossl_*
}
# CMake must also find it in a library folder that is not that of this system.
installed=-DCMAKE_PREFIX_PATH=$work/moved/$lib/cmake/ezossl
consumer c "$installed"
consumer cxx "$installed" '-DCONSUMER_LANGUAGES=C;CXX'
consumer part -DEZOSSL_SOURCE="$source"
consumer part-static -DEZOSSL_SOURCE="$source" -DBUILD_SHARED_LIBS=OFF -DCMAKE_CXX_STANDARD=20 \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCONSUMER_LIBRARIES=ezossl
if ! grep -q 'std=c++20.*SslCoreDelay' part-static/compile_commands.json ||
    find part-static -name 'libezossl.so*' | grep .; then
    fail 'part-static: not C++20, or not static only'
fi
if cmake -S "$source" -B refused -DBUILD_SHARED_LIBS=OFF >refused.log 2>&1 ||
    ! tr -s ' \n' ' ' <refused.log | grep -q 'Omit -DBUILD_SHARED_LIBS=OFF'; then
    fail 'BUILD_SHARED_LIBS=OFF is not refused'
fi
for program in */ezossl_static_* part-static/ezossl_C; do
    is_static "$program" || fail "$program: not with the static library"
done

export PKG_CONFIG_PATH=$work/moved/$lib/pkgconfig
moved=
! grep -qx 'prefix=/usr' "$PKG_CONFIG_PATH/ezossl.pc" || moved=--define-variable=prefix=$work/moved
# Unquoted: words of flags.
# shellcheck disable=SC2046,SC2086
for kind in '' --static; do
    flags="$(pkg-config $kind $moved --cflags --libs ezossl) ${LDFLAGS:-}"
    [ -z "$kind" ] || flags=${flags/-lezossl/-l:libezossl.a} # the .so is next to it
    ${CC:-cc} ${CFLAGS:-} -std=c99 "$source/examples/locate.c" $flags -o "c$kind.out"
    ${CXX:-c++} ${CXXFLAGS:-} -std=c++17 "$source/examples/locate.cpp" $flags -o "cxx$kind.out"
    finds_angle "./c$kind.out" "./cxx$kind.out"
done
is_static c--static.out || fail 'pkg-config: not the static library'

# The static library may be in a package that is not installed.
rm moved/"$lib"/libezossl.a
consumer shared "$installed" -DCONSUMER_LIBRARIES=ezossl
