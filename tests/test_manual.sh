#!/bin/bash
# SPDX-License-Identifier: MIT
# test_manual.sh TOOL - bash completion and the manual page have every command, option and value of
# the tool; the page also has the defaults, statuses and columns. The figures of README are those
# that its commands draw, apart from the curve of the level, whose last digits may differ.
set -euo pipefail
tool=$(realpath "$1")
cd "$(dirname "$0")/.."
# shellcheck source=/dev/null
. tools/completion/ezossl
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT

offered() { # WORD... of which the last is begun
    COMP_WORDS=(ezossl "$@") COMP_CWORD=$# COMPREPLY=()
    _ezossl
    printf '%s\n' "${COMPREPLY[@]}"
}
require() { # LINE TEXT PLACE
    grep -qxF -e "$1" <<<"$2" || { echo "$1 is missing in the $3" && exit 1; }
}
# The manual page without its fonts, a paragraph per line.
manual=$(
    sed -E 's/\\f[A-Z]//g; s/\\-/-/g; s/^\.([BIR]|BI|BR|IR|RB) //' docs/ezossl.1 |
        sed -E 's/"//g; s/\( /(/; s/ \)/)/' |
        awk '/^\.(TP|SS|SH|PP)/ { print "" } { printf "%s ", $0 }'
)
require_value() { # OPTION WORD in a paragraph on the option
    grep -E -e "$1[ ,]" <<<"$manual" | grep -qwF -e "$2" ||
        { echo "$2 is missing with $1 in the manual" && exit 1; }
}

commands=$("$tool" --help | sed '1,/^Subcommands:/d' | grep -oE '^  [a-z]+')
require simulate "$(xargs -n 1 <<<"$commands")" help
choices=0
for command in $commands; do
    require "$command" "$(offered '')" completion
    require ".SS $command" "$(grep -oE '^\.SS [a-z]+' <<<"$manual")" manual
    help=$("$tool" "$command" --help)
    ! grep -E '.{81}' <<<"$help" || { echo "^ too wide for a terminal" && exit 1; }
    usages=$(sed -n '/^Usage:/,/^$/p' <<<"$help")
    required=$(sed -nE 's/^ +(-.),.* REQUIRED.*/\1/p' <<<"$help")
    named=$(grep -oE ' --?[a-z-]+' <<<"$usages") || true
    for option in $named; do
        grep -qE "^ +(-.,)?${option}[ ,]" <<<"$help" ||
            { echo "the usage of $command has $option, which it does not know" && exit 1; }
    done
    for option in $required; do # in every usage
        [ "$(grep -c -e "$option " <<<"$usages")" = "$(grep -c ezossl <<<"$usages")" ] ||
            { echo "$option is missing in the usage of $command" && exit 1; }
    done
    options=$(sed -nE 's/^ +(-., ?)?(--[a-z0-9-]+).*/\2/p' <<<"$help")
    for option in $options; do
        require "$option" "$(offered "$command" --)" "completion of $command"
        require "$option" "$(grep -oE -e '--[a-z0-9-]+' <<<"$manual")" manual
        refusal=$("$tool" "$command" "$option" '?' 2>&1 </dev/null) || true
        values=$(sed -nE 's/,//g; s/.* is not one of //p' <<<"$refusal")
        [ -z "$values" ] || choices=$((choices + 1))
        [ -z "$values" ] || [ "$(offered "$command" "$option" '' | xargs)" = "$values" ] ||
            { echo "the completion of $command $option is not $values" && exit 1; }
        short=$(sed -nE "s/^ +(-.),${option}[ ,].*/\1/p" <<<"$help")
        [ "$(offered "$command" "${short:-$option}" '')" = "$(offered "$command" "$option" '')" ] ||
            { echo "the completions of $command $short and $option differ" && exit 1; }
        for value in $values; do
            require_value "$option" "$value"
        done
        default=$(sed -nE "s/^ .*$option [A-Z]+[^ =]*=([^ ]+).*/\1/p" <<<"$help")
        [ -z "$default" ] || require_value "$option" "($default)"
    done
done
[ "$choices" -ge 9 ] || { echo "only $choices options with choices" && exit 1; }
require docs/ezossl.1 "$(offered docs/ez)" 'completion of a file'

statuses=$(sed -nE 's/^ +\{BlockStatus::[a-z_]+, "([a-z_]+)".*/\1/p' \
    tools/ezossl/tracking/block_status.h)
require undecided "$statuses" 'table of statuses'
for status in $statuses; do
    require "$status" "$(sed -nE 's/^\.TP ([a-z_]+) .*/\1/p' <<<"$manual")" 'manual as a status'
done
"$tool" simulate -a 0 -s 5 -d 1 -o "$work/x.wav" 2>"$work/err"
"$tool" "$work/x.wav" -s 5 -f csv --per-frame -o "$work/x.csv" 2>"$work/err"
header=$(head -n 1 "$work/x.csv")
require "${header%,frame_delays}" "$(<docs/ezossl.1)" manual

sed -n 's/^\$ ezossl \(.*scene\.wav.*\)/\1/p' README.md >"$work/commands"
[ "$(wc -l <"$work/commands")" = 2 ]
while read -ra arguments; do
    (cd "$work" && "$tool" "${arguments[@]}" >out 2>err)
done <"$work/commands"
for figure in walk.svg rose.svg; do
    diff <(grep -v '<path class="level"' "docs/$figure") \
        <(grep -v '<path class="level"' "$work/$figure") ||
        { echo "^ docs/$figure is not what the commands of README draw" && exit 1; }
done
