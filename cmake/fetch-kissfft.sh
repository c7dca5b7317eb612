#!/bin/bash
# SPDX-License-Identifier: MIT
# fetch-kissfft.sh - unpacks Debian's source of KISS FFT to build/kissfft, for
# -DEZOSSL_KISSFFT_SOURCE_DIR=build/kissfft. Needs a mirror with sources, and no privileges.
set -euo pipefail
cd "$(dirname "$0")/.."
. cmake/main-archive.sh

folder=$PWD/build/kissfft
[ ! -e "$folder/kiss_fft.c" ] || exit 0

aside=$(mktemp -d)
trap 'rm -rf "$aside"' EXIT
private_apt "$aside" "$(main_archive deb-src)"
cd "$aside"
if ! { "${apt[@]}" update && "${apt[@]}" source --download-only kissfft; } >log 2>&1; then
    cat log >&2
    echo "fetch-kissfft.sh: the mirror has no source package of KISS FFT; unpack it yourself and" \
        "name the folder in EZOSSL_KISSFFT_SOURCE_DIR" >&2
    exit 1
fi
rm -rf "$folder" "$folder.part"
mkdir -p "$folder.part"
tar -xf kissfft_*.orig.tar.* -C "$folder.part" --strip-components=1
mv "$folder.part" "$folder" # complete, or not there
