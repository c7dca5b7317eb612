#!/bin/bash
# SPDX-License-Identifier: MIT
# packages.sh [arm64|armhf] - makes the Debian packages of this machine, or cross-compiles those of
# another one, tests them, and leaves them in build/package-ARCHITECTURE. The same source gives the
# same bytes in any folder. Installs missing build dependencies, but writes to this folder only.
set -euo pipefail
cd "$(dirname "$0")"
umask 022

if ! command -v dpkg >/dev/null; then
    echo 'packages.sh: Debian packages can be made only on a Debian system' >&2
    exit 1
fi
native=$(dpkg --print-architecture)
architecture=${1:-$native}
case $architecture in
"$native") cmake/install-packages.sh build tools package ;;
arm64 | armhf) cmake/install-packages.sh build tools package "$architecture" ;;
*)
    sed -n '3,5s/^# //p' "$0" >&2
    [[ $architecture != -h && $architecture != --help ]] || exit 0
    exit 2
    ;;
esac
# Sets DEB_HOST_GNU_TYPE and other variables of the machine.
eval "$(dpkg-architecture --host-arch "$architecture" --print-set 2>/dev/null)"

folder=$PWD/build/package-$architecture
build() { # in a copy, because dpkg-buildpackage puts the packages next to the source
    rm -rf "$folder"
    mkdir -p "$folder/ezossl"
    tar -c --exclude-vcs --exclude=./build . | tar -x -C "$folder/ezossl"
    cd "$folder/ezossl"
    local profiles=''
    [ "$architecture" = "$native" ] || profiles=cross
    dpkg-buildpackage --build=binary --no-sign --host-arch "$architecture" \
        --build-profiles="$profiles"
}

# Runs debian/tests on the unpacked packages.
try() {
    local work=$1 libdir=usr/lib/$DEB_HOST_MULTIARCH package
    for package in "$folder"/*.deb; do
        dpkg-deb --extract "$package" "$work/root"
    done
    export EMULATOR='' LD_LIBRARY_PATH=$work/root/$libdir PKG_CONFIG_SYSROOT_DIR=$work/root
    export PKG_CONFIG_LIBDIR=$work/root/$libdir/pkgconfig:/$libdir/pkgconfig:/usr/share/pkgconfig
    [ "$architecture" = "$native" ] || EMULATOR=qemu-$DEB_HOST_GNU_CPU
    mkdir "$work/bin"
    printf '#!/bin/sh\nexec %s "%s" "$@"\n' "$EMULATOR" "$work/root/usr/bin/ezossl" \
        >"$work/bin/ezossl"
    chmod +x "$work/bin/ezossl"
    PATH=$work/bin:$PATH debian/tests/examples
    OBJDUMP=$DEB_HOST_GNU_TYPE-objdump tests/test_hardening.sh "$work/root" 0 1 \
        "$work/root/usr/bin/ezossl" "$work/root/$libdir/libezossl.so.1"
    [ "$architecture" != "$native" ] || PATH=$work/bin:$PATH \
        PYTHONPATH=$work/root/usr/lib/python3/dist-packages debian/tests/python
}

log=build/package-$architecture.log
echo "packages.sh: building for $architecture; log in $log"
mkdir -p build
if ! (build) >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "packages.sh: the build failed; the whole log is $log" >&2
    exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(try "$work")
if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error,warning "$folder"/*.changes
fi
rm -rf "$folder/ezossl"
mkdir "$folder/debug"
mv "$folder"/*-dbgsym_*.deb "$folder/debug"
ls -l "$folder"/*.deb
