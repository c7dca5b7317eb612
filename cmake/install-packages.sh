#!/bin/bash
# SPDX-License-Identifier: MIT
# install-packages.sh [--dry-run] GROUP... - installs the missing Debian packages of the groups.
# Does nothing, and needs no privileges, if none are missing. First shows what it will do; removes
# nothing; if it refuses, shows apt's reason. --dry-run only shows the plan. Without apt-get it
# looks for the programs and libraries themselves.
#
#   build   compiler, build system, libraries of the library
#   tools   libraries of the command-line tool
#   test    GoogleTest, make for a sample, Python for its module, example, XML parser and the
#           accuracy
#   browser a browser and its driver, for the test of the page that --serve shows; 400 MB
#   check   formatting, static analysis, the pages, the check of the packages, chroots
#   clang   the compiler clang
#   bench   Google Benchmark, FFTW for comparison, the emulator that counts instructions
#   fuzz    the compiler of the fuzzers, a parser of XML
#   demo    the voices that demo.sh places
#   recipes the programs with which docs/recipes.md and docs/archives.md use the tool
#   package what makes Debian packages
#   arm64, armhf   cross compiler, emulator, and the libraries of all of the above for that machine
set -euo pipefail
# shellcheck source=cmake/debian-archives.sh
. "$(dirname "$0")/debian-archives.sh"

# What to look for on a system without apt-get: a program, a module of pkg-config, or a file.
declare -A probes=(
    [g++]="program ${CXX:-c++}" [cmake]='program cmake' [ninja-build]='program ninja make'
    [pkg-config]='program pkg-config' [libcjson-dev]='module libcjson'
    [libkissfft-dev]='module kissfft-float' [libsndfile1-dev]='module sndfile'
    [libsoxr-dev]='module soxr' [libasound2-dev]='module alsa' [make]='program make'
    [libmicrohttpd-dev]='module libmicrohttpd'
    [libcli11-dev]='module CLI11' [libgtest-dev]='module gtest' [python3]='program python3'
    # Without these, the tests of the Python module are skipped.
    [python3-numpy]='program python3' [python3-pytest]='program python3'
    [python3-pip]='program python3' [python3-setuptools]='program python3'
    [libexpat1-dev]='module expat'
    [chromium]='program chromium' [chromium-driver]='program chromedriver'
    [python3-selenium]='program python3'
    [alsa-utils]='file /usr/share/sounds/alsa/Front_Center.wav'
    [clang-format]='program clang-format' [clang-tidy]='program clang-tidy'
    [clang]='program clang' [shellcheck]='program shellcheck' [ccache]='program ccache'
    [doxygen]='program doxygen' [libbenchmark-dev]='module benchmark'
    [libfftw3-dev]='module fftw3f' [qemu-user]='program qemu-x86_64 qemu-aarch64'
)
probe() { # KIND NAME... - whether one is there
    local kind=$1 name
    shift
    for name in "$@"; do
        case $kind in
        program) ! command -v "$name" >/dev/null || return 0 ;;
        module) ! pkg-config --exists "$name" 2>/dev/null || return 0 ;;
        file) [ ! -e "$name" ] || return 0 ;;
        esac
    done
    return 1
}

dry_run=
if [ "${1:-}" = --dry-run ]; then
    dry_run=yes
    shift
fi
packages=()
architectures=() # foreign ones
foreign() {
    local package http=libmicrohttpd12
    # The second is the name in Debian 13. The package -dev is not installed, because it needs
    # versions of many others that mirrors do not have for each architecture; the header is that of
    # this machine.
    ! apt-cache show libmicrohttpd12t64 >/dev/null 2>&1 || http=libmicrohttpd12t64
    packages+=("$2" qemu-user)
    for package in libcjson-dev libkissfft-dev libsndfile1-dev libsoxr-dev \
        libasound2-dev $http libgtest-dev pkg-config; do
        packages+=("$package:$1")
    done
    architectures+=("$1")
}
for group in "$@"; do
    case $group in
    build) packages+=(g++ cmake ninja-build pkg-config libcjson-dev) ;;
    tools)
        packages+=(libkissfft-dev libsndfile1-dev libsoxr-dev)
        packages+=(libasound2-dev libcli11-dev libmicrohttpd-dev)
        ;;
    clang) packages+=(clang) ;;
    test)
        packages+=(libgtest-dev make python3 python3-numpy python3-pytest python3-pip)
        packages+=(python3-setuptools)
        ;;
    fuzz) packages+=(clang libclang-rt-dev libexpat1-dev) ;;
    browser) packages+=(chromium chromium-driver python3-selenium) ;;
    check)
        packages+=(clang-format clang-tidy shellcheck mypy ccache doxygen lintian debootstrap)
        packages+=(python3-matplotlib python3-pandas) # for tests of the Python module and drawings
        ;;
    bench) packages+=(libbenchmark-dev libfftw3-dev libkissfft-dev qemu-user python3) ;;
    demo) packages+=(alsa-utils) ;;
    recipes)
        packages+=(jq mosquitto mosquitto-clients sox ffmpeg systemd python3-distributed)
        packages+=(pipewire pipewire-bin wireplumber dbus)
        packages+=(gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-good)
        ;;
    package) packages+=(build-essential debhelper dh-python python3-numpy) ;;
    arm64) foreign arm64 g++-aarch64-linux-gnu ;;
    armhf) foreign armhf g++-arm-linux-gnueabihf ;;
    *)
        echo "install-packages.sh: no group '$group'; there are build, tools, test, browser," \
            "clang, check, bench, fuzz, demo, recipes, package, arm64, armhf" >&2
        exit 2
        ;;
    esac
done

missing=()
if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    for package in "${packages[@]}"; do
        # Unquoted: a kind and names.
        # shellcheck disable=SC2086
        probe ${probes[$package]:-none} || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || exit 0
    cat >&2 <<NAMES
install-packages.sh: these are missing, and there is no apt-get. As Debian names them:
  ${missing[*]}
Install them by your system's own means and start again, or build what can be built without:
  cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DEZOSSL_BUILD_TESTS=OFF
  cmake --build build --parallel
NAMES
    exit 1
fi

native=$(dpkg --print-architecture)
is_installed() {
    local architecture=${1#*:}
    [ "$architecture" != "$1" ] || architecture=$native
    # A name without an architecture stands for all architectures.
    dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "${1%:*}" 2>/dev/null |
        grep -qxE "($architecture|all) installed"
}
for package in "${packages[@]}"; do
    case $package in
    pkg-config*) # a name that pkgconf provides as well
        is_installed "$package" || is_installed "${package/pkg-config/pkgconf}" ||
            missing+=("$package")
        ;;
    *) is_installed "$package" || missing+=("$package") ;;
    esac
done
[ ${#missing[@]} -gt 0 ] || exit 0

# apt-get with lists of its own: the plan needs no privileges, and changes nothing.
aside=$(mktemp -d)
trap 'rm -rf "$aside"' EXIT
private_apt "$aside"
# Includes the architectures that this machine has already, because versions must match.
others=$({ dpkg --print-foreign-architectures && printf '%s\n' "${architectures[@]}"; } |
    grep -vx -e "$native" -e '' | sort -u | paste -sd, || true)
apt+=(-o APT::Architectures="$native${others:+,$others}" -o APT::Get::List-Cleanup=false)
failed() { # WHAT - with what apt said
    cat "$aside/log" >&2
    echo "install-packages.sh: $1; apt's reason is above. Nothing was changed." >&2
    echo "install-packages.sh: missing: ${missing[*]}" >&2
    exit 1
}
update() {
    "${apt[@]}" update "$@" >"$aside/log" 2>&1
}
twice() { # COMMAND... - a mirror may be in the middle of an update
    "$@" || { sleep 10 && "$@"; }
}
twice update -o APT::Architectures="$native" || failed 'the lists of packages cannot be read'
# For the other architectures only Debian's own suites, because others may not have them; with the
# updates, because these may have the version that is installed here. A list may be missing.
if [ -n "$others" ]; then
    debian_archives deb "arch=$others" >"$aside/others.list"
    twice update -o Dir::Etc::SourceList="$aside/others.list" -o Dir::Etc::SourceParts=- || {
        echo "install-packages.sh: some lists of $others cannot be read; going on without them:"
        grep '^E: Failed' "$aside/log" || cat "$aside/log"
    } >&2
fi

install=(install --no-install-recommends --no-remove)
"${apt[@]}" "${install[@]}" --simulate "${missing[@]}" >"$aside/log" 2>&1 ||
    failed 'apt would not install what is missing'
for architecture in "${architectures[@]}"; do
    { [ "$architecture" = "$native" ] || dpkg --print-foreign-architectures |
        grep -qx "$architecture"; } || echo "architecture: $architecture is added to dpkg"
done
sed -nE 's/^Inst ([^ ]+) \(([^ ]+) .*/install: \1 \2/p
    s/^Inst ([^ ]+) \[([^]]+)\] \(([^ ]+) .*/upgrade: \1 from \2 to \3/p' "$aside/log"
[ -z "$dry_run" ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages.sh: this needs root, and there is no sudo; as root, run:" \
            "cmake/install-packages.sh $*" >&2
        exit 1
    fi
    as_root=(sudo)
fi
for architecture in "${architectures[@]}"; do
    [ "$architecture" = "$native" ] || "${as_root[@]}" dpkg --add-architecture "$architecture"
done
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${apt[@]}" "${install[@]}" -y "${missing[@]}" \
    >"$aside/log" 2>&1 </dev/null || {
    cat "$aside/log" >&2
    echo "install-packages.sh: apt-get install failed, see above" >&2
    exit 1
}
