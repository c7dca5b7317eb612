#!/bin/bash
# SPDX-License-Identifier: MIT
# test_manual.sh TOOL - bash completion offers, and the manual page has, every command and option
# that the tool's help shows.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=/dev/null
. tools/completion/ezossl

offered() { # WORD... of which the last is begun
    COMP_WORDS=(ezossl "$@") COMP_CWORD=$# COMPREPLY=()
    _ezossl
    printf '%s\n' "${COMPREPLY[@]}"
}
require() { # LINE TEXT PLACE
    grep -qxF -e "$1" <<<"$2" || { echo "$1 is missing in the $3" && exit 1; }
}
manual=$(sed 's/\\-/-/g' docs/ezossl.1 | grep -oE -e '--[a-z0-9-]+|^\.SS [a-z]+$')
commands=$("$1" --help | sed '1,/^Subcommands:/d' | grep -oE '^  [a-z]+')
require simulate "$(xargs -n 1 <<<"$commands")" help
for command in $commands; do
    require "$command" "$(offered '')" completion
    require ".SS $command" "$manual" manual
    ! "$1" "$command" --help | grep -E '.{81}' || { echo "^ too wide for a terminal" && exit 1; }
    options=$("$1" "$command" --help | sed -nE 's/^ +(-., ?)?(--[a-z0-9-]+).*/\2/p')
    for option in $options; do
        require "$option" "$(offered "$command" --)" "completion of $command"
        require "$option" "$manual" manual
    done
done
require jsonl "$(offered live --format = j)" 'completion of a value'
require docs/ezossl.1 "$(offered docs/ez)" 'completion of a file'
