# Completion of ovrel for bash.

_ovrel() {
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version' -- "$current")
        return
    fi
    compopt -o filenames
    # A name that begins with "-" would be taken for an option.
    mapfile -t COMPREPLY < <({ compgen -d -- "$current"; compgen -f -- "$current" |
        grep -iE '\.(jpe?g|png|webp|gif|avif)$'; } | sed 's,^-,./-,')
}
complete -F _ovrel ovrel
