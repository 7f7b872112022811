# Runs the fuzzers. A program fuzz_NAME starts from the inputs in fuzz/corpus/NAME, from those that make_fuzz_seeds
# writes to build/fuzz/seeds/NAME, and from those that earlier runs kept in build/fuzz/corpus/NAME. What breaks it
# is kept in build/fuzz/finds.
# Part of ./dev, which reads this file.

# The sources that each target is about. "fuzz_image" is about the way from a file to sRGB pixels.
declare -A fuzzed_sources=(
    [appcast]="updates/engine/appcast.cpp updates/engine/appcast_item_reader.cpp updates/engine/xml_element.cpp
        updates/engine/item_choice.cpp updates/engine/version_comparator.cpp"
    [archive]="updates/engine/archive_reader.cpp updates/engine/entry_policy.cpp"
    [avif]="platform/linux/avif_source.cpp"
    [exif]="platform/linux/exif_orientation.cpp"
    [gif]="platform/linux/gif_canvas.cpp platform/linux/gif_lzw_decoder.cpp platform/linux/gif_pixel_reader.cpp
        platform/linux/gif_source.cpp platform/linux/gif_stream.cpp platform/linux/gif_structure.cpp"
    [heif]="platform/linux/heif_boxes.cpp platform/linux/heif_derivation.cpp platform/linux/heif_items.cpp
        platform/linux/heif_source.cpp platform/linux/heif_work.cpp platform/linux/hevc_work.cpp"
    [image]="platform/linux/bitmap.cpp platform/linux/color_profiles.cpp platform/linux/image_source.cpp
        platform/linux/upright_rows.cpp"
    [installer_order]="updates/installation/clean_environment.cpp updates/installation/installer_order.cpp"
    [journal]="updates/installation/journal.cpp"
    [jpeg]="platform/linux/jpeg_decompressor.cpp platform/linux/jpeg_source.cpp"
    [manifest]="updates/engine/manifest.cpp"
    [png]="platform/linux/png_chunks.cpp platform/linux/png_source.cpp"
    [settings]="remote/banner_redirect_policy.cpp remote/banner_settings.cpp remote/banner_settings_addresses.cpp"
    [webp]="platform/linux/webp_source.cpp"
)

# Larger inputs make a run slow and find nothing more.
largest_input_bytes=65536
# What is kept is small, since every clone has it.
largest_kept_bytes=16384

# Of each target's sources, in percent. What no input reaches are failures of memory and of devices, and in
# updates/installation/journal.cpp what reads and writes the journal's file.
least_lines_reached=85
declare -A lower_least_lines_reached=([journal]=80)

fuzz() {
    if [ "${1:-}" = keep ]; then
        build_fuzzers
        keep_corpora
        report_coverage
        return
    fi
    if ! [[ ${1:-} =~ ^[1-9][0-9]*$ ]]; then
        say "How long? \"./dev fuzz 60\" runs each fuzzer for 60 seconds; \"./dev fuzz keep\" adds to fuzz/corpus what" \
            "earlier runs found to reach more."
        exit 2
    fi
    local seconds=$1
    build_fuzzers
    mkdir -p "$fuzz_tree/finds"
    export -f say fuzz_one
    export fuzz_tree largest_input_bytes
    printf '%s\0' "$fuzz_tree"/bin/fuzz_* | xargs -0 -P2 -I{} bash -c 'fuzz_one "$@"' fuzz_one {} "$seconds" ||
        fail "A fuzzer found something: the inputs are in $fuzz_tree/finds, \"PROGRAM INPUT\" shows each again."
    say "No fuzzer found anything."
    report_coverage
}

fuzz_tree=build/fuzz

build_fuzzers() {
    build fuzz --target fuzz/all
    compgen -G "$fuzz_tree/bin/fuzz_*" >/dev/null || fail "There is no fuzzer in $fuzz_tree/bin."
    mkdir -p "$fuzz_tree/seeds" "$fuzz_tree/logs"
    # The programs count the lines that they run and would leave the numbers in the current folder.
    export LLVM_PROFILE_FILE=/dev/null
    LSAN_OPTIONS=print_suppressions=0 "$fuzz_tree/bin/make_fuzz_seeds" "$fuzz_tree/seeds"
}

# fuzz_one PROGRAM SECONDS
fuzz_one() {
    local program=$1 seconds=$2
    local name=${program##*/fuzz_}
    local log=$fuzz_tree/logs/$name.log
    local corpus=$fuzz_tree/corpus/$name folders=()
    mkdir -p "$corpus"
    folders=("$corpus")
    [ ! -d "fuzz/corpus/$name" ] || folders+=("fuzz/corpus/$name")
    [ ! -d "$fuzz_tree/seeds/$name" ] || folders+=("$fuzz_tree/seeds/$name")

    say "Running $program for $seconds seconds."
    if UBSAN_OPTIONS=print_stacktrace=1 "$program" -max_total_time="$seconds" -timeout=30 \
        -max_len="$largest_input_bytes" -print_final_stats=1 -artifact_prefix="$fuzz_tree/finds/$name-" \
        "${folders[@]}" >"$log" 2>&1; then
        say "$program: $(grep -E '^stat::number_of_executed_units' "$log" | grep -oE '[0-9]+') inputs, nothing found."
    else
        tail -n 60 "$log"
        say "$program found something; all it said is in $log."
        return 1
    fi
}

# Keeps as few and as small inputs as reach all that the known ones reach.
keep_corpora() {
    local program name log kept folder folders
    for program in "$fuzz_tree"/bin/fuzz_*; do
        name=${program##*/fuzz_}
        log=$fuzz_tree/logs/$name-keep.log
        kept=$fuzz_tree/kept/$name
        folders=()
        for folder in "fuzz/corpus/$name" "$fuzz_tree/seeds/$name" "$fuzz_tree/corpus/$name"; do
            [ ! -d "$folder" ] || folders+=("$folder")
        done
        rm -rf "$kept"
        mkdir -p "$kept" fuzz/corpus
        # How often a line runs does not matter for what is kept, or there would be thousands of inputs.
        "$program" -merge=1 -use_counters=0 -max_len="$largest_kept_bytes" "$kept" "${folders[@]}" >"$log" 2>&1 || {
            tail -n 20 "$log"
            fail "$program could not choose among its inputs; all it said is in $log."
        }
        rm -rf "fuzz/corpus/$name"
        mv "$kept" "fuzz/corpus/$name"
    done
}

# How much of what each target is about its kept inputs reach, by themselves.
report_coverage() {
    local folder=$fuzz_tree/coverage program name lines regions lacking=()
    rm -rf "$folder"
    mkdir -p "$folder"
    say "What the inputs in fuzz/corpus reach of the sources that their target is about:"
    coverage_row target inputs "lines, %" "regions, %"
    for program in "$fuzz_tree"/bin/fuzz_*; do
        name=${program##*/fuzz_}
        [ -n "${fuzzed_sources[$name]:-}" ] || fail "Nothing says what fuzz_$name is about."
        measure_coverage "$program" "$name" "$folder/$name"
        read -r lines regions <"$folder/$name.sum"
        coverage_row "$name" "$(find "fuzz/corpus/$name" -type f | wc -l)" "$lines" "$regions"
        [ "${lines%%.*}" -ge "${lower_least_lines_reached[$name]:-$least_lines_reached}" ] || lacking+=("$name")
    done
    say "$folder/NAME.txt shows line by line how often each was reached."
    [ ${#lacking[@]} -eq 0 ] ||
        fail "Too few lines are reached by: ${lacking[*]}. A longer run or a new seed finds" \
            "what reaches more, and \"./dev fuzz keep\" keeps it."
}

# measure_coverage PROGRAM NAME RESULT: leaves the percentages of lines and regions in RESULT.sum, each line in RESULT.txt
measure_coverage() {
    local program=$1 name=$2 result=$3
    local sources=(${fuzzed_sources[$name]})
    LLVM_PROFILE_FILE=$result.raw "$program" -runs=0 "fuzz/corpus/$name" >"$result.log" 2>&1 || {
        tail -n 20 "$result.log"
        fail "$program fails with what is kept in fuzz/corpus/$name."
    }
    llvm-profdata merge -sparse "$result.raw" -o "$result.profile"
    llvm-cov export -summary-only -instr-profile="$result.profile" "$program" |
        python3 packaging/dev/coverage.py "${sources[@]}" >"$result.sum"
    llvm-cov show -instr-profile="$result.profile" "$program" >"$result.txt"
}

coverage_row() {
    printf '%-16s %7s %9s %11s\n' "$@"
}
