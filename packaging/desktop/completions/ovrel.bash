# Completion of ovrel for bash.

_ovrel() {
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help --version' -- "$current")
        return
    fi
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -d -- "$current"; compgen -f -- "$current" |
        grep -iE '\.(jpe?g|png|webp|gif|avif)$')
}
complete -F _ovrel ovrel
