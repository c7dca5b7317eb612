#!/bin/bash
# SPDX-License-Identifier: MIT
# fetch-cjson.sh - unpacks Debian's source of cJSON to build/cjson, for
# -DEZOSSL_CJSON_SOURCE_DIR=build/cjson. Needs a mirror with sources, and no privileges.
set -euo pipefail
cd "$(dirname "$0")/.."
. cmake/debian-archives.sh

folder=$PWD/build/cjson
[ ! -e "$folder/cJSON.c" ] || exit 0

aside=$(mktemp -d)
trap 'rm -rf "$aside"' EXIT
private_apt "$aside" "$(main_archive deb-src)"
cd "$aside"
if ! { "${apt[@]}" update && "${apt[@]}" source --download-only cjson; } >log 2>&1; then
    cat log >&2
    echo "fetch-cjson.sh: the mirror has no source package of cJSON; unpack it yourself and name" \
        "the folder in EZOSSL_CJSON_SOURCE_DIR" >&2
    exit 1
fi
rm -rf "$folder" "$folder.part"
mkdir -p "$folder.part"
tar -xf cjson_*.orig.tar.* -C "$folder.part" --strip-components=1
mv "$folder.part" "$folder" # complete, or not there
