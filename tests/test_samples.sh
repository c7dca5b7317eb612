#!/bin/bash
# SPDX-License-Identifier: MIT
# test_samples.sh TOOL - the files in docs/samples work. The Makefile builds libezossl.a from a copy
# of the sources without changing them, and the library finds the angle of a scene. The Buildroot
# package names a commit, not a tag that may not exist.
set -euo pipefail
tool=$1
source=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "$*" >&2
    exit 1
}

mkdir "$work/copy"
cd "$work/copy"
(cd "$source" && tar -c src Common LibGen_Tool Platform docs/samples examples) | tar -x
find . | sort >../before.txt
make -j 2 -f docs/samples/Makefile CXXFLAGS=-O1 >../make.log 2>&1 || { cat ../make.log && exit 1; }
find . -name build -prune -o -print | sort >../after.txt
diff ../before.txt ../after.txt || fail 'the Makefile leaves files in the source'
"${CC:-cc}" -Isrc examples/locate.c build/libezossl/libezossl.a -lcjson -lm -o ../locate
make -f docs/samples/Makefile clean >../make.log
[ -z "$(find build -type f)" ] || fail 'make clean leaves files'

cd ..
"$tool" simulate -a 30 -s 5.8cm -r 16000 -d 1 -o scene.wav 2>simulate.log
echo '{"debug_level": 1}' >errors.json
tail -c +45 scene.wav | DML_PATH=errors.json ./locate 16000 5.8 >answer.txt
awk '$3 == "angle" && ($4 - 30)^2 <= 16 { good++ } END { exit !(good == 3 && NR == 3) }' \
    answer.txt || fail "$(cat answer.txt)"

grep -qxE 'EZOSSL_VERSION = [0-9a-f]{40}' "$source/docs/samples/buildroot/ezossl.mk" ||
    fail 'ezossl.mk: EZOSSL_VERSION is not a commit'
