#!/bin/bash
# SPDX-License-Identifier: MIT
# test_hardening.sh FOLDER PATHS HARDENED FILE... - no program or library in the folder, of which at
# least PATHS have a path, looks for libraries in the current folder; the FILEs have a read-only
# table of relocations that is complete at the start, guards on the stack and around buffers, probes
# of the stack and marked targets of jumps, if they are built with them (HARDENED 1). OBJDUMP
# disassembles them.
set -euo pipefail
fail() {
    echo "$*" >&2
    exit 1
}

checked=0
while read -r file; do
    # Scripts are no ELF files, for which readelf fails.
    paths=$({ readelf -d "$file" 2>/dev/null || true; } |
        sed -nE 's/.*R(UN)?PATH.*\[(.*)\]/\2/p')
    [ -n "$paths" ] || continue
    # The line break of <<< ends the last entry.
    # shellcheck disable=SC2016 # the linker's own variable
    while IFS= read -r -d : entry; do
        [[ $entry = '$ORIGIN'* || $entry = /* ]] || fail "$file looks for libraries in '$paths'"
    done <<<"$paths:"
    checked=$((checked + 1))
done < <(find "$1" -type f \( -perm -u+x -o -name '*.so*' \) ! -path '*/CMakeFiles/*')
[ "$checked" -ge "$2" ] || fail "only $checked files with a path in $1"

[ "$3" = 1 ] || exit 0
for file in "${@:4}"; do
    readelf -lW "$file" | grep -q GNU_RELRO || fail "$file: no RELRO"
    readelf -dW "$file" | grep -qE '\((FLAGS|FLAGS_1)\).*NOW' || fail "$file: no BIND_NOW"
    symbols=$(readelf --dyn-syms -W "$file")
    for symbol in __stack_chk_fail '__[a-z]*printf_chk'; do
        grep -qE " $symbol(@| |\$)" <<<"$symbols" || fail "$file: no $symbol"
    done
    # Some flags leave nothing but instructions.
    code=$("${OBJDUMP:-objdump}" -d --no-show-raw-insn "$file")
    case $(readelf -hW "$file" | grep Machine:) in
    *X86-64*) mark=endbr64 probe='[^0-9a-f]0x0,.*%rsp' page='sub .*[^0-9a-f]0x1000,%rsp' ;;
    *AArch64*) mark='paciasp|bti' probe='str.*xzr, \[sp' page='sub.*sp, sp, #0x10, lsl #12' ;;
    *) continue ;;
    esac
    [ "$(grep -cE "$mark" <<<"$code")" -gt 10 ] || # the C library's own start has a few
        fail "$file: jumps may go anywhere"
    [[ $file != *.so* ]] || continue # the library has no frame of a page
    grep -A 1 "$page" <<<"$code" | grep "$probe" >/dev/null ||
        fail "$file: does not touch every page of the stack"
done
