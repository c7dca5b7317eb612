#!/bin/bash
# SPDX-License-Identifier: MIT
# demo.sh - builds ezossl, places a real voice at known angles, and shows what ezossl finds.
# Installs what is missing. Ends with an error when an angle is not found.
set -euo pipefail
cd "$(dirname "$0")"

readonly build=build/release
readonly tool=$build/tools/ezossl
readonly scenes=$build/demo
readonly voice=/usr/share/sounds/alsa/Front_Center.wav
readonly spacing=5.8cm
readonly rate=16000
readonly seconds=5

# Reads the output of a build, and shows its steps in one line of the terminal.
progress() {
    local line
    while IFS= read -r line; do
        if [[ -t 1 && $line = '['*']'* ]]; then
            printf '\r  %s ' "${line%%]*}]"
        fi
    done
    [ ! -t 1 ] || echo
}

build_tool() {
    cmake/install-packages.sh build tools demo
    . cmake/generator.sh
    local log=$build/demo.log
    mkdir -p "$build"
    echo "building in $build, about two minutes on two cores the first time; log in $log"
    # In a folder that test.sh has built, the tests stay switched on. Otherwise they would no longer
    # be built, and a later ctest would run old ones.
    local options=(-DEZOSSL_BUILD_TOOLS=ON)
    [ -e "$build/CMakeCache.txt" ] || options+=(-DEZOSSL_BUILD_TESTS=OFF)
    if ! { cmake --preset release "${options[@]}" &&
        cmake --build --preset release --target ezossl_tool --parallel "$(nproc)"; } 2>&1 |
        tee "$log" | progress; then
        cat "$log" >&2
        echo "demo.sh: the build failed, see above or in $log" >&2
        exit 1
    fi
}

# Prints a row of the table; fails if the angle was not found.
locate() {
    local truth=$1 tolerance=$2 scene="$scenes/voice_$1.wav" summary median decided blocks verdict=
    "$tool" simulate --input "$voice" --angle "$truth" --spacing "$spacing" --rate "$rate" \
        --duration "$seconds" --output "$scene" 2>/dev/null
    summary=$("$tool" track "$scene" --spacing "$spacing" 2>&1 >/dev/null)
    blocks=$(sed -nE 's/.* ([0-9]+) blocks, .*/\1/p' <<<"$summary")
    decided=$(sed -nE 's/.* ([0-9]+) decided .*/\1/p' <<<"$summary")
    median=$(sed -nE 's/.* median [+]?([-0-9.]+) deg.*/\1/p' <<<"$summary")
    if ! awk -v a="$truth" -v b="${median:-none}" -v t="$tolerance" \
        'BEGIN { exit !(b != "none" && a - b <= t && b - a <= t) }'; then
        verdict="not within $tolerance degrees"
    fi
    printf '  %11d  %11s  %8d of %d  %s\n' "$truth" "${median:-none}" "$decided" "$blocks" \
        "$verdict"
    [ -z "$verdict" ]
}

build_tool
mkdir -p "$scenes"
echo
cat <<END
A voice, $seconds s from each angle, heard by two microphones $spacing apart at $rate Hz, 30 dB
above their noise. + is the side of the first microphone.

found    The median of the blocks that have an angle. It is less exact towards +90 and -90, where
         a small error of the delay between the microphones is a large one of the angle: errors up
         to 8 degrees pass, and up to 15 degrees beyond 60.
decided  How many of the blocks have an angle. A block is 0.256 s; one in which the voice pauses or
         is too soft has none.

END
echo "  truth [deg]  found [deg]  blocks decided"
failures=0
for truth in -75 -60 -45 -30 -15 0 15 30 45 60 75; do
    # Near the axis of the pair a small error in the delay is a large error in the angle.
    if [ "${truth#-}" -gt 60 ]; then tolerance=15; else tolerance=8; fi
    locate "$truth" "$tolerance" || failures=$((failures + 1))
done
echo
if [ "$failures" -gt 0 ]; then
    echo "demo.sh: $failures of the angles were not found" >&2
    exit 1
fi
cat <<END
All found. Next steps:

  export PATH="$PWD/${tool%/*}:\$PATH"
  # a dial in the browser, for a sound that moves
  ezossl demo --serve
  # block by block
  ezossl track $scenes/voice_-30.wav --spacing $spacing
  # a recording of your own, with the distance of its microphones
  ezossl track FILE --spacing LENGTH
  # other scenes
  ezossl simulate --help
  # all tests
  ./test.sh
END
