#!/bin/bash
# Looks in built programs for the guards that cmake/OvrelHardening.cmake asks for.
#
#   check_hardening.sh PROGRAM…
#
# Prints what is missing and fails; binutils' readelf and objdump read the programs.
set -euo pipefail
export LC_ALL=C

missing() {
    printf '%s: %s\n' "$program" "$*"
    failed=1
}

# Whether the program uses a function of the C library.
uses() { grep -qE " $1(@|\$| )" <<<"$symbols"; }

check_program() {
    local headers segments dynamic symbols
    headers=$(readelf --file-header --wide "$program")
    segments=$(readelf --segments --wide "$program")
    dynamic=$(readelf --dynamic --wide "$program")
    # A program that carries its libraries has their functions among its own symbols.
    symbols=$(readelf --dyn-syms --syms --wide "$program")
    grep -q 'Type: *DYN' <<<"$headers" && grep -q 'FLAGS_1.*PIE' <<<"$dynamic" ||
        missing "lies at a fixed address (no position-independent executable)"
    grep -q GNU_RELRO <<<"$segments" || missing "tables of the dynamic linker stay writable (no RELRO)"
    grep -q 'FLAGS_1.*NOW' <<<"$dynamic" || missing "functions are looked up late (RELRO is not full)"
    grep -qE 'GNU_STACK.* RW ' <<<"$segments" || missing "the stack can be executed"
    ! grep -qE ' LOAD .* RWE ' <<<"$segments" || missing "a part can be written and executed"
    uses __stack_chk_fail || missing "no stack protector"
    # A program without the dynamic linker may have no call whose buffer's size the compiler knows.
    ! grep -q INTERP <<<"$segments" || uses '__[a-z]+_chk' || missing "no fortified call of the C library"
    check_branches "$headers"
}

# The note that says so is lost where one object of the C library's start-up lacks it, so the instructions are asked.
check_branches() {
    local instruction
    case $1 in
    *X86-64*) instruction=endbr64 ;;
    *AArch64*) instruction='paciasp|bti' ;;
    *) return 0 ;;
    esac
    [ "$(objdump --disassemble --no-show-raw-insn "$program" | grep -cE "\s($instruction)\b")" -ge 100 ] ||
        missing "no protection of branches ($instruction)"
}

failed=0
[ $# -gt 0 ] || {
    echo "usage: check_hardening.sh PROGRAM..." >&2
    exit 2
}
for program in "$@"; do
    check_program
done
exit "$failed"
