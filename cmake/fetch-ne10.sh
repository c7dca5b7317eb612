#!/bin/bash
# SPDX-License-Identifier: MIT
# fetch-ne10.sh ARCHITECTURE - unpacks the NEON FFT library of arm64 or armhf to
# build/ne10/ARCHITECTURE, where the presets of that name look for it. It is not installed, because
# the packages of both architectures hold the same documentation files with different contents.
set -euo pipefail
cd "$(dirname "$0")/.."
. cmake/debian-archives.sh

architecture=$1
folder=$PWD/build/ne10/$architecture
[ ! -e "$folder/usr/include/ne10" ] || exit 0

aside=$(mktemp -d)
trap 'rm -rf "$aside"' EXIT
private_apt "$aside" "$(main_archive deb "arch=$architecture")"
cd "$aside"
if ! { "${apt[@]}" update &&
    "${apt[@]}" download "libne10-10:$architecture" "libne10-dev:$architecture"; } >log 2>&1; then
    cat log >&2
    echo "fetch-ne10.sh: the mirror has no libne10-dev for $architecture; to build without:" \
        "cmake --preset $architecture -DEZOSSL_FFT=builtin" >&2
    exit 1
fi
rm -rf "$folder" "$folder.part"
mkdir -p "$folder.part"
for package in ./*.deb; do
    dpkg-deb --extract "$package" "$folder.part"
done
rm -rf "$folder.part/usr/share"
mv "$folder.part" "$folder" # complete, or not there
