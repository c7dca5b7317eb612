#!/bin/bash
# SPDX-License-Identifier: MIT
# test.sh [PRESET] - installs what is missing, builds the preset (release) and runs all its tests;
# those of the presets arm64 and armhf under an emulator.
set -euo pipefail
cd "$(dirname "$0")"

preset=${1:-release}
case $preset in
arm64 | armhf)
    cmake/install-packages.sh build tools test "$preset"
    cmake/fetch-ne10.sh "$preset"
    ;;
*) cmake/install-packages.sh build tools test ;;
esac
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # counts for a new build directory only
cmake --preset "$preset" -DEZOSSL_BUILD_TESTS=ON -DEZOSSL_BUILD_TOOLS=ON
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset"
