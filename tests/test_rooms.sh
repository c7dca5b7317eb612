#!/bin/bash
# SPDX-License-Identifier: MIT
# test_rooms.sh - the rooms of the tool include one way, downwards, and only commands and main.cpp
# know the command line's parser.
set -euo pipefail
cd "$(dirname "$0")/../tools/ezossl"

# A room, and the rooms below it whose headers it may include.
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

rooms=$(find . -mindepth 1 -maxdepth 1 -type d -printf '%f\n' | sort)
[ "$rooms" = "$(awk '{ print $1 }' <<<"$below" | sort)" ] ||
    { echo 'the rooms are not those of the table' && exit 1; }
status=0
while read -r room rooms; do
    allowed="($room${rooms:+|${rooms// /|}})"
    includes=$(grep -nE '^#include "[a-z]+/' "$room"/* || true)
    ! grep -vE "\"$allowed/" <<<"$includes" ||
        { echo "^ $room includes $room $rooms only" && status=1; }
done <<<"$below"
! grep -rlE '#include <CLI/|CLI::' --exclude-dir=commands --exclude=main.cpp . ||
    { echo '^ only commands and main.cpp know CLI11' && status=1; }
exit $status
