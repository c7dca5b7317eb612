#!/bin/bash
# SPDX-License-Identifier: MIT
# packages.sh [PRESET] - builds the preset (release; arm64 and armhf cross compile) and makes its
# Debian packages in build/package-PRESET, the same wherever that is: with the built-in FFT, though
# Ne10 may be installed. Programs are built with them, and lintian looks at them where it is installed.
set -euo pipefail
cd "$(dirname "$0")"
umask 022 # of the folders in the packages

preset=${1:-release}
build=build/package-$preset
case $preset in
arm64 | armhf) cmake/install-packages.sh build tools package "$preset" ;;
*) cmake/install-packages.sh build tools package ;;
esac
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # counts for a new build directory only
cmake --preset "$preset" -B "$build" -DCMAKE_INSTALL_PREFIX=/usr -DEZOSSL_PACKAGES=ON \
    -DEZOSSL_BUILD_TESTS=OFF -DEZOSSL_BUILD_TOOLS=ON -DEZOSSL_FFT=builtin
cmake --build "$build" --parallel "$(nproc)"
rm -f "$build"/*.deb
cpack --config "$build/CPackConfig.cmake" -B "$build"
cmake/check-packages.sh "$build"
if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error "$build"/*.deb
fi
ls -l "$build"/*.deb
