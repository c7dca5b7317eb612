#!/bin/bash
# SPDX-License-Identifier: MIT
# test_layers.sh - the folders of the tool are layers: each includes only those below it. Only
# commands and main.cpp use the parser of the command line.
set -euo pipefail
cd "$(dirname "$0")/../tools/ezossl"

# A folder, and the folders below it whose headers it may include.
below="\
base
input      base
tracking   base input
scene      base input tracking
plot       base tracking
diagnosis  base input tracking
output     base input tracking plot
serve      base input tracking output
commands   base input tracking scene plot diagnosis output serve"

folders=$(find . -mindepth 1 -maxdepth 1 -type d -printf '%f\n' | sort)
[ "$folders" = "$(awk '{ print $1 }' <<<"$below" | sort)" ] ||
    { echo 'the folders are not those of the table' && exit 1; }
status=0
while read -r folder lower; do
    allowed="($folder${lower:+|${lower// /|}})"
    includes=$(grep -n '^#include "' "$folder"/* | grep -v '"EzoSsl.h"') || true
    ! grep -vE "^\$|\"$allowed/" <<<"$includes" ||
        { echo "^ $folder may include only $folder $lower" && status=1; }
done <<<"$below"
! grep -rlE '#include <CLI/|CLI::' --exclude-dir=commands --exclude=main.cpp . ||
    { echo '^ only commands and main.cpp may use CLI11' && status=1; }
exit $status
