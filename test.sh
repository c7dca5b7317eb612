#!/bin/bash
# SPDX-License-Identifier: MIT
# test.sh [PRESET [OPTION...]] - installs what is missing, builds the preset with the options of
# CMake, if any, and runs all its tests.
#
#   release   what is shipped (default)
#   dev       with debug information; warnings are errors
#   clang     compiled by clang; warnings are errors
#   sanitize  with AddressSanitizer and UndefinedBehaviorSanitizer
#   arm64     64-bit Arm, cross-compiled; tests run under an emulator
#   armhf     32-bit Arm, cross-compiled and emulated as well
set -euo pipefail
cd "$(dirname "$0")"
usage() {
    sed -n '3,/^set/s/^# \{0,1\}//p' "$0"
}

preset=${1:-release}
shift || true # the preset may be omitted
groups=(build tools test)
case $preset in
-h | --help) usage && exit 0 ;;
release | dev | sanitize) ;;
clang) groups+=(clang) ;;
arm64 | armhf) groups+=("$preset") ;;
*) usage >&2 && exit 2 ;;
esac
cmake/install-packages.sh "${groups[@]}"
case $preset in
arm64 | armhf) cmake/fetch-ne10.sh "$preset" ;;
esac
. cmake/generator.sh
cmake --preset "$preset" -DEZOSSL_BUILD_TESTS=ON -DEZOSSL_BUILD_TOOLS=ON "$@"
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)"
