#!/bin/bash
# SPDX-License-Identifier: MIT
# install-packages.sh GROUP... - the Debian packages of this project, in one place. Installs those
# of the groups that are missing; does nothing, and needs no privileges, when all are there.
#
#   build   compiler, build system, libraries of the library
#   tools   libraries of the command-line tool
#   test    GoogleTest, and Python for its example and its XML parser
#   check   formatting, static analysis, the pages, a look at the packages
#   demo    the voices that demo.sh places
#   package what makes Debian packages
#   arm64, armhf   cross compiler, emulator, and the libraries of all of the above for that machine
set -euo pipefail
# shellcheck source=cmake/main-archive.sh
. "$(dirname "$0")/main-archive.sh"

packages=
architectures= # foreign ones
foreign() {
    local package
    packages="$packages $2 qemu-user"
    for package in libkissfft-dev libcjson-dev libsndfile1-dev libsamplerate0-dev libsoxr-dev \
        libasound2-dev libgtest-dev; do
        packages="$packages $package:$1"
    done
    architectures="$architectures $1"
}
for group in "$@"; do
    case $group in
    build) packages="$packages g++ cmake ninja-build pkg-config libcjson-dev" ;;
    tools)
        packages="$packages libkissfft-dev libsndfile1-dev libsamplerate0-dev libsoxr-dev"
        packages="$packages libasound2-dev libcli11-dev"
        ;;
    test) packages="$packages libgtest-dev python3" ;;
    check) packages="$packages clang clang-format clang-tidy shellcheck ccache doxygen lintian" ;;
    demo) packages="$packages alsa-utils" ;;
    package) packages="$packages dpkg-dev file" ;;
    arm64) foreign arm64 g++-aarch64-linux-gnu ;;
    armhf) foreign armhf g++-arm-linux-gnueabihf ;;
    *)
        echo "install-packages.sh: no group '$group'; there are build, tools, test, check, demo," \
            "package, arm64, armhf" >&2
        exit 2
        ;;
    esac
done

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    echo "This is no Debian system; install yourself what corresponds to:$packages" >&2
    exit 1
fi

native=$(dpkg --print-architecture)
is_installed() {
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture=$native
    # A name alone stands for the package of every architecture.
    dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null |
        grep -qxE "($architecture|all) installed"
}
missing=
for package in $packages; do
    # pkg-config is a name that other packages provide as well.
    if [ "$package" = pkg-config ] && command -v pkg-config >/dev/null; then
        continue
    fi
    is_installed "$package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Packages are missing:$missing" >&2
        echo "There is no sudo; as root, run: cmake/install-packages.sh $*" >&2
        exit 1
    fi
    as_root=sudo
fi

log=$(mktemp)
trap 'rm -f "$log" "$log".list' EXIT
quietly() {
    $as_root env DEBIAN_FRONTEND=noninteractive "$@" >"$log" 2>&1 </dev/null
}
failed() {
    cat "$log" >&2
    echo "$* failed, see above; missing packages:$missing" >&2
    exit 1
}

update_foreign() {
    local list="$log".list separated=${architectures# }
    main_archive deb "arch=${separated// /,}" >"$list"
    quietly apt-get update -o Dir::Etc::SourceList="$list" -o Dir::Etc::SourceParts=- \
        -o APT::Get::List-Cleanup=false
}
update() {
    quietly apt-get update -o APT::Architectures="$native" || return
    [ -z "$architectures" ] || update_foreign
}

for architecture in $architectures; do
    [ "$architecture" = "$native" ] || quietly dpkg --add-architecture "$architecture" ||
        failed dpkg --add-architecture "$architecture"
done
echo "installing:$missing"
# A mirror may be in the middle of an update.
update || { sleep 10 && update; } || failed apt-get update
# Unquoted: a list of names.
# shellcheck disable=SC2086
quietly apt-get install -y --no-install-recommends $missing ||
    { sleep 10 && update && quietly apt-get install -y --no-install-recommends $missing; } ||
    failed apt-get install
