# Runs the fuzzers. A program fuzz_NAME starts from the inputs in fuzz/corpus/NAME, from those that make_fuzz_seeds
# writes to build/fuzz/seeds/NAME, and from those that earlier runs kept in build/fuzz/corpus/NAME. What breaks it
# is kept in build/fuzz/finds.
# Part of ./dev, which reads this file.

fuzz() {
    if ! [[ ${1:-} =~ ^[1-9][0-9]*$ ]]; then
        say "How long? \"./dev fuzz 60\" runs each fuzzer for 60 seconds."
        exit 2
    fi
    local seconds=$1 tree=build/fuzz
    build fuzz --target fuzz/all
    compgen -G "$tree/bin/fuzz_*" >/dev/null || fail "There is no fuzzer in $tree/bin."
    mkdir -p "$tree/finds" "$tree/seeds" "$tree/logs"
    if [ -x "$tree/bin/make_fuzz_seeds" ]; then
        "$tree/bin/make_fuzz_seeds" "$tree/seeds"
    fi
    export -f say fuzz_one
    printf '%s\0' "$tree"/bin/fuzz_* | xargs -0 -P2 -I{} bash -c 'fuzz_one "$@"' fuzz_one {} "$seconds" "$tree" ||
        fail "A fuzzer found something: the inputs are in $tree/finds, \"PROGRAM INPUT\" shows each again."
    say "No fuzzer found anything."
}

# fuzz_one PROGRAM SECONDS TREE
fuzz_one() {
    local program=$1 seconds=$2 tree=$3
    local name=${program##*/fuzz_}
    local log=$tree/logs/$name.log
    local corpus=$tree/corpus/$name folders=()
    mkdir -p "$corpus"
    folders=("$corpus")
    [ ! -d "fuzz/corpus/$name" ] || folders+=("fuzz/corpus/$name")
    [ ! -d "$tree/seeds/$name" ] || folders+=("$tree/seeds/$name")

    say "Running $program for $seconds seconds."
    if UBSAN_OPTIONS=print_stacktrace=1 "$program" -max_total_time="$seconds" -timeout=30 -max_len=65536 -print_final_stats=1 \
        -artifact_prefix="$tree/finds/$name-" "${folders[@]}" >"$log" 2>&1; then
        say "$program: $(grep -E '^stat::number_of_executed_units' "$log" | grep -oE '[0-9]+') inputs, nothing found."
    else
        tail -n 60 "$log"
        say "$program found something; all it said is in $log."
        return 1
    fi
}
