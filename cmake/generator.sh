# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. Builds use Ninja if it is installed; this affects new build directories only.
if command -v ninja >/dev/null; then
    export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}
fi
