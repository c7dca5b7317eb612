#!/bin/bash
# SPDX-License-Identifier: MIT
# test.sh [PRESET] - installs what is missing, builds the preset (release) and runs all its tests.
set -euo pipefail
cd "$(dirname "$0")"

preset=${1:-release}
cmake/install-packages.sh build tools test
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # counts for a new build directory only
cmake --preset "$preset" -DEZOSSL_BUILD_TESTS=ON -DEZOSSL_BUILD_TOOLS=ON
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset"
