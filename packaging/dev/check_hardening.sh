#!/bin/bash
# Looks in built programs for the guards that cmake/OvrelHardening.cmake asks for.
#
#   check_hardening.sh PROGRAM…
#
# Prints what is missing and fails; binutils' readelf and objdump read the programs. A program that carries its
# libraries and has lost its symbols does not tell what of it was compiled here, so two guards are not looked for in it.
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
    # A program without the dynamic linker may have no call whose buffer's size the compiler knows.
    ! grep -q INTERP <<<"$segments" || uses '__[a-z]+_chk' || missing "no fortified call of the C library"
    check_instructions "$(sed -n 's/^ *Machine: *//p' <<<"$headers")"
}

# Guards that are instructions. They count where Ovrel's own functions have them, as far as these are known: the
# libraries in a program have their own.
check_instructions() {
    local branch
    case $1 in
    *X86-64*) branch=endbr64 ;;
    AArch64) branch='paciasp|bti' ;;
    *) branch='.*' ;; # no such protection
    esac
    local functions guarded marked all_marked
    read -r functions guarded marked all_marked < <(objdump --disassemble --no-show-raw-insn "$program" |
        awk -v branch="$branch" '
        /^[0-9a-f]+ <.*>:$/ { own = / <_Z[^>]*5ovrel/; functions += own }
        own && /<__stack_chk_fail/ { guarded++ }
        $2 ~ "^(" branch ")$" { all_marked++; marked += own }
        END { print functions + 0, guarded + 0, marked + 0, all_marked + 0 }')
    if [ "$functions" -gt 0 ]; then
        [ "$guarded" -gt 0 ] || missing "no stack protector"
        [ "$marked" -gt 0 ] || missing "no protection of branches ($branch)"
    elif grep -q INTERP <<<"$segments"; then
        uses __stack_chk_fail || missing "no stack protector"
        # The C library's start-up files have some, too.
        [ "$all_marked" -ge 100 ] || missing "no protection of branches ($branch)"
    else
        printf '%s: has no symbols, so stack protector and branches are not checked\n' "$program"
    fi
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
