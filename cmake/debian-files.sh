#!/bin/bash
# SPDX-License-Identifier: MIT
# debian-files.sh FOLDER MAINTAINER - makes what Debian packages have of the project's own files, in
# FOLDER: copyright, changelog (also compressed), and the manual page, compressed.
set -euo pipefail
export LC_ALL=C
folder=$(realpath "$1") maintainer=$2
cd "$(dirname "$0")/.."

# The released versions of CHANGELOG.md, in the form that Debian has.
changelog() {
    local line day=
    end_of_version() {
        [ -z "$day" ] || printf '\n -- %s  %s\n\n' "$maintainer" "$(date -u -R -d "$day")"
        day=
    }
    while IFS= read -r line; do
        if [[ $line =~ ^'## ['([0-9.]+)'] - '([0-9-]+)$ ]]; then
            end_of_version
            day=${BASH_REMATCH[2]}
            printf 'ezossl (%s) unstable; urgency=medium\n\n' "${BASH_REMATCH[1]}"
        elif [[ $line = '## '* ]]; then
            end_of_version
        elif [[ -n $day && $line = '- '* ]]; then
            echo "  * ${line#- }"
        elif [[ -n $day && $line = '  '* ]]; then
            echo "  $line"
        fi
    done <CHANGELOG.md
    end_of_version
}

changelog >"$folder/changelog"
gzip -9n <"$folder/changelog" >"$folder/changelog.gz"
gzip -9n <docs/ezossl.1 >"$folder/ezossl.1.gz"
(cat LICENSE && echo && cat NOTICE) >"$folder/copyright"
