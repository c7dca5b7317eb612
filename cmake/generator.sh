# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. Builds go by Ninja where it is; counts for a new build directory only.
if command -v ninja >/dev/null; then
    export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}
fi
