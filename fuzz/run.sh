#!/bin/bash
# SPDX-License-Identifier: MIT
# run.sh [TIME [NAME...]] - builds the fuzzers and runs each (or those named) for TIME: hours such
# as 8 or 0.5, or seconds such as 60s (default: one minute). As many run at once as there are
# processors. Their findings and corpora are kept in build/fuzz: an input that fails is
# build/fuzz/NAME-crash-*, and fuzz_NAME FILE replays it.
set -euo pipefail
cd "$(dirname "$0")/.."

case ${1:-60s} in
*s) seconds=${1:-60s} seconds=${seconds%s} ;;
*) seconds=$(awk -v hours="$1" 'BEGIN { printf "%d", hours * 3600 }') ;;
esac
[[ $seconds =~ ^[1-9][0-9]*$ ]] || {
    echo "run.sh: '$1' is not a time; write hours, such as 8 or 0.5, or seconds, such as 60s" >&2
    exit 2
}
shift $(($# > 0))
cmake/install-packages.sh build tools fuzz
cjson=()
if cmake/fetch-cjson.sh; then
    cjson=(-DEZOSSL_CJSON_SOURCE_DIR="$PWD/build/cjson")
else
    echo 'LEFT OUT: cJSON is not instrumented, see above' >&2
fi
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # affects new build directories only
cmake --preset fuzz "${cjson[@]}" >/dev/null
cmake --build --preset fuzz --parallel "$(nproc)"

if [ $# -eq 0 ]; then
    for source in fuzz/fuzz_*.cpp; do
        name=${source#fuzz/fuzz_}
        set -- "$@" "${name%.cpp}"
    done
fi
export UBSAN_OPTIONS=print_stacktrace=1
fuzz() { # NAME
    local learned=build/fuzz/corpus/$1 dictionary=()
    mkdir -p "$learned"
    [ ! -e "fuzz/$1.dict" ] || dictionary=(-dict="fuzz/$1.dict")
    # Absolute paths, because fuzz_calls changes to a folder of its own.
    build/fuzz/fuzz/fuzz_"$1" "${dictionary[@]}" -max_total_time="$seconds" -timeout=10 \
        -print_final_stats=1 -artifact_prefix="$PWD/build/fuzz/$1-" \
        "$PWD/$learned" "$PWD/fuzz/corpus/$1" 2>"$learned.log" || { cat "$learned.log"; return 1; }
    echo "fuzz_$1, $seconds s"
    grep -E '^(stat::number_of_executed_units|[0-9]+ calls of)|^#.*DONE' "$learned.log"
}
running=0
for name in "$@"; do
    if [ "$running" -ge "$(nproc)" ]; then
        wait -n
        running=$((running - 1))
    fi
    fuzz "$name" &
    running=$((running + 1))
done
while [ "$running" -gt 0 ]; do
    wait -n
    running=$((running - 1))
done
