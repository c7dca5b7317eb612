#!/bin/bash
# SPDX-License-Identifier: MIT
# install-packages.sh GROUP... - the Debian packages of this project, in one place. Installs those
# of the groups that are missing; does nothing, and needs no privileges, when all are there.
#
#   build   compiler, build system, libraries of the library
#   tools   libraries of the command-line tool
#   test    GoogleTest, and Python for its example and its XML parser
#   check   formatting and static analysis
#   demo    the voices that demo.sh places
#   package what makes Debian packages
set -euo pipefail

packages=
for group in "$@"; do
    case $group in
    build) packages="$packages g++ cmake ninja-build pkg-config libkissfft-dev libcjson-dev" ;;
    tools) packages="$packages libsndfile1-dev libsamplerate0-dev libasound2-dev libcli11-dev" ;;
    test) packages="$packages libgtest-dev python3" ;;
    check) packages="$packages clang-format clang-tidy" ;;
    demo) packages="$packages alsa-utils" ;;
    package) packages="$packages dpkg-dev file" ;;
    *)
        echo "install-packages.sh: no group '$group'; there are build, tools, test, check, demo," \
            package >&2
        exit 2
        ;;
    esac
done

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    echo "This is no Debian system; install yourself what corresponds to:$packages" >&2
    exit 1
fi

# A library may be there for other architectures as well, or only.
native="(all|$(dpkg --print-architecture))"
missing=
for package in $packages; do
    states=$(dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$package" 2>/dev/null) ||
        states=
    # pkg-config is a name that other packages provide as well.
    if [ "$package" = pkg-config ] && command -v pkg-config >/dev/null; then
        continue
    fi
    grep -qxE "$native installed" <<<"$states" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Packages are missing and there is no sudo; as root, run: apt-get install$missing" >&2
        exit 1
    fi
    as_root=sudo
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly() {
    if ! $as_root env DEBIAN_FRONTEND=noninteractive apt-get "$@" >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        echo "apt-get $* failed, see above; missing packages:$missing" >&2
        exit 1
    fi
}
echo "installing:$missing"
quietly update
# Unquoted: a list of names.
# shellcheck disable=SC2086
quietly install -y --no-install-recommends $missing
