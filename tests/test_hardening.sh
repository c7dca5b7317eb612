#!/bin/bash
# SPDX-License-Identifier: MIT
# test_hardening.sh FOLDER PATHS HARDENED FILE... - no program or library in the folder searches the
# current folder for libraries; at least PATHS of them have a search path. If HARDENED is 1, each
# FILE has a read-only relocation table that is complete at the start, guards on the stack and
# around buffers, stack probes and marked jump targets, and programs check their indexes. OBJDUMP
# disassembles them.
set -euo pipefail
fail() {
    echo "$*" >&2
    exit 1
}

checked=0
while read -r file; do
    # readelf fails for scripts, which are not ELF files.
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
    [[ $file == *.so* ]] || grep -qa '__n < this->size()' "$file" ||
        fail "$file: no checked indexes"
    # Some flags show only in the instructions.
    code=$("${OBJDUMP:-objdump}" -d --no-show-raw-insn "$file")
    machine=$(readelf -hW "$file" | sed -nE 's/.*Machine: +//p')
    case $machine in
    *X86-64*) mark=endbr64 ;;
    AArch64) mark='paciasp|bti' ;;
    *) continue ;;
    esac
    [ "$(grep -cE "$mark" <<<"$code")" -gt 10 ] || # the C library's own start has a few
        fail "$file: jumps may go anywhere"
    # The library has no frame of a page. Arm probes every 64 KiB only, and no frame is so large.
    [[ $file != *.so* && $machine == *X86-64* ]] || continue
    grep -A 1 'sub .*[^0-9a-f]0x1000,%rsp' <<<"$code" | grep '[^0-9a-f]0x0,.*%rsp' >/dev/null ||
        fail "$file: does not touch every page of the stack"
done
