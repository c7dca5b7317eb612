#!/bin/bash
# SPDX-License-Identifier: MIT
# test_python.sh PYTHON TOOL LIBRARY - the tests of the Python module, on the built library.
set -euo pipefail
source=$(realpath "$(dirname "$0")/../python")
export EZOSSL_TOOL=$2 EZOSSL_LIBRARY=$3 PYTHONPATH=$source PYTHONDONTWRITEBYTECODE=1
# Python itself is built without the sanitizers that the library may be built with.
LD_PRELOAD=$(ldd "$3" | awk '/libasan/ { print $3 }')
export LD_PRELOAD ASAN_OPTIONS=detect_leaks=0
exec "$1" -m pytest -q -ra -p no:cacheprovider --tb=short "$source/tests"
