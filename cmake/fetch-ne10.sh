#!/bin/bash
# SPDX-License-Identifier: MIT
# fetch-ne10.sh ARCHITECTURE - unpacks the NEON FFT library of arm64 or armhf to
# build/ne10/ARCHITECTURE, where the presets of that name look for it. Not installed, because the
# packages of the two architectures hold the same documentation files with other contents.
set -euo pipefail
cd "$(dirname "$0")/.."

architecture=$1
folder=$PWD/build/ne10/$architecture
[ ! -e "$folder/usr/include/ne10" ] || exit 0

aside=$(mktemp -d)
trap 'rm -rf "$aside"' EXIT
cd "$aside"
for package in libne10-10 libne10-dev; do
    if ! apt-get download "$package:$architecture" >log 2>&1; then
        cat log >&2
        echo "fetch-ne10.sh: no $package for $architecture; run apt-get update and try again, or" \
            "build with KISS FFT: -DEZOSSL_FFT=kissfft" >&2
        exit 1
    fi
    dpkg-deb --extract "$package"_*.deb unpacked
done
rm -rf unpacked/usr/share "$folder"
mkdir -p "$(dirname "$folder")"
mv unpacked "$folder"
