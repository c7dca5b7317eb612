#!/bin/bash
# SPDX-License-Identifier: MIT
# check-packages.sh FOLDER - the Debian packages in FOLDER, unpacked, hold what programs need: with
# them the examples are built, with the shared and the static library, and find the angles of scenes
# that the tool makes. Programs for another machine run under its emulator.
set -euo pipefail
folder=$(realpath "$1") source=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

for package in "$folder"/*.deb; do
    dpkg-deb --extract "$package" root
done
architecture=$(dpkg-deb --field "$folder"/libezossl1_*.deb Architecture)
ask() { # VARIABLE - of the machine that the packages are for
    dpkg-architecture -A "$architecture" -q "DEB_TARGET_$1"
}
triplet=$(ask GNU_TYPE)
libdir=usr/lib/$(ask MULTIARCH)
emulator=
[ "$architecture" = "$(dpkg --print-architecture)" ] ||
    emulator="qemu-$(ask GNU_CPU) -L /usr/$triplet"

export LD_LIBRARY_PATH=$work/root/$libdir PKG_CONFIG_SYSROOT_DIR=$work/root
export PKG_CONFIG_LIBDIR=$work/root/$libdir/pkgconfig:/$libdir/pkgconfig:/usr/share/pkgconfig
start() { # SCRIPT PROGRAM - makes the script, which starts the program
    printf '#!/bin/sh\nexec %s "%s" "$@"\n' "$emulator" "$work/$2" >"$1"
    chmod +x "$1"
}
echo '{"debug_level": 1}' >errors.json # no messages in between
export DML_PATH=$work/errors.json
start tool root/usr/bin/ezossl
start c c.out
start c++ c++.out
# Unquoted: an option or none, and words of flags.
# shellcheck disable=SC2086
for kind in '' --static; do
    flags=$(pkg-config $kind --cflags --libs ezossl)
    [ -z "$kind" ] || flags=${flags/-lezossl/-l:libezossl.a} # the .so is next to it
    "$triplet-gcc" -std=c99 "$source/examples/locate.c" $flags -o c.out
    "$triplet-g++" -std=c++17 "$source/examples/locate.cpp" $flags -o c++.out
    "$source/tests/test_examples.sh" "$work/tool" "$work/c" "$work/c++"
    echo "check-packages.sh: $architecture${kind:+ $kind}: the examples find the angles"
done
