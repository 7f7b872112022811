# Completion of ovrel-cli for bash.

_ovrel_cli() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} choices=
    # To bash an option, "=" and its value are three words.
    if [[ $current == = ]]; then
        current=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    COMPREPLY=()
    case $previous in
    -o | --output)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --files-from)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -m | --mode) choices='efficient system' ;;
    -s | --speed) choices='fast balanced thorough' ;;
    --language) choices='en ru' ;;
    -q | --quality | -j | --jobs) return ;;
    *)
        if [[ $current != -* ]]; then
            compopt -o filenames
            # A name that begins with "-" would be taken for an option.
            mapfile -t COMPREPLY < <({ compgen -d -- "$current"; compgen -f -- "$current" |
                grep -iE '\.(jpe?g|png|webp|gif|avif)$'; } | sed 's,^-,./-,')
            return
        fi
        choices='--output --no-recursive --files-from --null --skip-existing --quality --mode --speed --jobs
            --preserve-times --dry-run --json --quiet --language --version --help'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
}
complete -F _ovrel_cli ovrel-cli
