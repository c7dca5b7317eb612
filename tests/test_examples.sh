#!/bin/bash
# SPDX-License-Identifier: MIT
# test_examples.sh TOOL LOCATE LOCATE_CPP [LIBRARY] - the examples find the angle of a scene that
# the tool makes, and print nothing else. Without LIBRARY the Python example is skipped.
set -euo pipefail
tool=$1 locate=$2 locate_cpp=$3
export EZOSSL_LIBRARY=${4:-}
locate_py=$(realpath "$(dirname "$0")")/../examples/locate.py
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
echo '{"debug_level": 1}' >errors.json # for locate.c, which has messages in its output
answers='c.txt cpp.txt'
if [ -n "$EZOSSL_LIBRARY" ]; then
    answers="$answers py.txt"
    sanitizer=$(ldd "$EZOSSL_LIBRARY" | awk '/libasan/ { print $3 }')
fi
# Python itself is built without the sanitizers that the library may be built with.
python() { # WAV SPACING
    ASAN_OPTIONS=detect_leaks=0 LD_PRELOAD=$sanitizer "$locate_py" "$@"
}

for angle in -40 30; do
    "$tool" simulate -a "$angle" -s 5.8cm -r 16000 -d 2 -o scene.wav 2>simulate.log
    tail -c +45 scene.wav >scene.raw # without the header
    DML_PATH=errors.json "$locate" 16000 5.8 <scene.raw >c.txt
    "$locate_cpp" 16000 5.8 <scene.raw >cpp.txt
    [ -z "$EZOSSL_LIBRARY" ] || python scene.wav 5.8 >py.txt
    for answer in $answers; do # 7 blocks within 4 degrees
        awk -v truth="$angle" '$3 == "angle" && ($4 - truth)^2 <= 16 { good++ }
            END { exit !(good == 7 && NR == 7) }' "$answer" ||
            { echo "$answer is wrong for $angle degrees:" && cat "$answer" && exit 1; }
    done
done
[ -n "$EZOSSL_LIBRARY" ] || exit 0

head -c 40000 scene.wav >cut.wav
if python cut.wav 5.8 >py.txt 2>err || ! grep -q '^locate.py: cut.wav: ends before' err ||
    python scene.wav 5.8 >&- 2>err || ! grep -qx 'locate.py: there is no standard output' err; then
    echo 'locate.py should refuse, but says:' && cat err && exit 1
fi
