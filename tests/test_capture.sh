#!/bin/bash
# SPDX-License-Identifier: MIT
# test_capture.sh TOOL CAPTURE FAULTY_DEVICE - the capture example on simulated ALSA devices: a
# file, every format and rate that it negotiates, every fault that it survives or reports. Also
# checks that the program text in docs/alsa.md compiles.
set -euo pipefail
tool=$1 capture=$2 faulty_device=$3
source=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
echo '{"debug_level": 1}' >errors.json
export DML_PATH=$work/errors.json ALSA_CONFIG_PATH=$work/alsa.conf
failed=0

# Checks the first LINES of the output, and a message; LINES 0: the program must end by itself.
expect() { # LINES ANSWER MESSAGE DEVICE...
    local lines=$1 answer=$2 message=$3 spacing=8.6
    shift 3
    printf 'pcm_type.faulty { lib "%s" }\npcm.null { type null }\npcm.x { type %s }\n' \
        "$faulty_device" "$*" >alsa.conf
    [ "$1" != file ] || spacing=5.8
    if [ "$lines" -gt 0 ]; then
        timeout 20 "$capture" x "$spacing" 2>err | head -n "$lines" >out || true
    else
        ! timeout 20 "$capture" x "$spacing" >out 2>err || echo 'ended without a failure' >>out
    fi
    if [ "$(uniq -c out | sed 's/^ *//')" != "$answer" ] || ! grep -qF "$message" err; then
        echo "$*: expected '$answer' and '$message', found:" && cat out err
        failed=1
    fi
}

"$tool" simulate -a 0 -s 5.8cm -r 16000 -d 2 -o scene.wav 2>simulate.log
tail -c +45 scene.wav >scene.raw # without the header
expect 7 '7 angle 0 degrees' '16000 Hz, S16_LE' \
    "file slave.pcm null file /dev/null format raw infile $work/scene.raw"

# A standard output that is closed, or full.
for sink in '>&-' '>/dev/full'; do
    if eval "timeout 20 '$capture' x 5.8 2>err $sink" ||
        ! grep -q '^capture: standard output' err; then
        echo "$sink: expected a refusal, found:" && cat err
        failed=1
    fi
done

# The other devices have noise that is two samples later at microphone 1. At 8.6 cm that is
# asin(2 x 343 / 16000 / 0.086) = 29.9 degrees, asin(2 x 343 / 48000 / 0.086) = 9.6.
expect 3 '3 angle 29 degrees' 'x: 16000 Hz, S16_LE' faulty
expect 3 '3 angle 29 degrees' 'x: 16000 Hz, S32_LE' faulty bits 32
for bits in 16 32; do
    expect 2 '2 angle 10 degrees' "x: 48000 Hz, S${bits}_LE" faulty rate 48000 bits $bits
done
# Through plug, which would resample.
expect 2 '2 angle 10 degrees' 'x: 48000 Hz, S16_LE' 'plug slave.pcm { type faulty rate 48000 }'
expect 0 '' 'does not offer 2 channels' faulty channels 4
expect 0 '' 'no usable sample rate' faulty rate 8000
expect 0 '' 'Device or resource busy' faulty refuse 16

# A fault before the first frame, and in the first block (4096 samples), which is restarted.
for after in 0 3000; do
    expect 3 '3 angle 29 degrees' 'overrun, starting a new block' faulty fault 32 after $after
    expect 3 '3 angle 29 degrees' 'starting a new block' faulty fault 86 after $after # suspend
done
expect 0 '1 angle 29 degrees' 'x: delivers no sound' faulty fault 32 after 5000 forever 1
expect 0 '1 angle 29 degrees' 'x: is lost' faulty fault 19 after 5000 # unplugged
# Two times 3000 frames are not one block.
expect 0 '' 'x: delivers no sound' faulty fault 32 after 3000 again 3000 forever 1

awk '/^```$/ { inside = 0 } inside { print } /^```c$/ { inside = 1 }' "$source/docs/alsa.md" >page.c
[ -s page.c ] || { echo 'docs/alsa.md: no program text' && failed=1; }
${CC:-cc} -std=gnu99 -Wall -Wextra -Werror -fsyntax-only -I "$source/src" page.c || failed=1
exit $failed
