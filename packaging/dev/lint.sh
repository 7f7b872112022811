# What "./dev lint" looks at. Every check runs, whatever the others found.
# Part of ./dev, which reads this file.

lint() {
    local preset=dev
    [ "${CI:-}" != true ] || preset=ci
    require_packages build lint
    configure "$preset"
    local failed=()
    check_format || failed+=("format")
    check_headers "$preset" || failed+=("headers")
    check_layers "$preset" || failed+=("layers")
    check_with_clang_tidy "$preset" || failed+=("static analysis")
    [ ${#failed[@]} -eq 0 ] || fail "Lint found something: $(printf '%s; ' "${failed[@]}")see above."
    say "Lint found nothing."
}

# source_files PATTERN…: the project's files of these names, NUL-separated.
source_files() {
    local names=() pattern
    for pattern in "$@"; do
        names+=(-o -name "$pattern")
    done
    find . \( -path ./build -o -path ./out -o -path './.?*' \) -prune -o -type f \( "${names[@]:1}" \) -print0
}

# Versions of clang-format break lines differently, so only one of them judges.
check_format() {
    if ! type clang-format-14 >/dev/null 2>&1; then
        say "Not checking the format, because this system has no clang-format 14."
        return 0
    fi
    say "Checking the format (\"clang-format-14 -i FILE\" mends it)."
    source_files '*.h' '*.cpp' '*.c' | xargs -0 clang-format-14 --dry-run --Werror
}

check_headers() {
    say "Compiling every header alone."
    cmake --build --preset "$1" --target all_verify_interface_header_sets
}

check_layers() {
    say "Checking which folder includes which."
    cmake --build --preset "$1" --target test-layers && "build/$1/bin/test-layers" --gtest_brief=1
}

# Every version knows other checks, so only the one that Debian 12 has judges. Sources include what moc writes.
check_with_clang_tidy() {
    cmake --build --preset "$1" --target autogen || return 1
    local advice=()
    if [[ $(clang-tidy --version) == *"LLVM version 14."* ]]; then
        say "Running clang-tidy on every source file that is not known to be clean."
    else
        say "Running clang-tidy on every source file. It is not version 14, so its warnings are only advice."
        advice=(--warnings-as-errors='-*')
    fi
    source_files '*.cpp' | python3 packaging/dev/static_analysis.py "build/$1" "${advice[@]}"
}
