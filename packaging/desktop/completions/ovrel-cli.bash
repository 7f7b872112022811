# Completion of ovrel-cli for bash.

_ovrel_cli() {
    local current=${COMP_WORDS[COMP_CWORD]} choices=
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
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
            mapfile -t COMPREPLY < <(compgen -d -- "$current"; compgen -f -- "$current" |
                grep -iE '\.(jpe?g|png|webp|gif|avif)$')
            return
        fi
        choices='--output --no-recursive --files-from --null --skip-existing --quality --mode --speed --jobs
            --preserve-times --dry-run --json --quiet --language --version --help'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
}
complete -F _ovrel_cli ovrel-cli
