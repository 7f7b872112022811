#compdef ovrel
# Completion of ovrel for zsh.

_arguments -S \
    '(- *)'{-h,--help}'[print help]' \
    '(- *)'{-v,--version}'[print the version]' \
    '*:image or folder:_files -g "*.(#i)(jpg|jpeg|png|webp|gif|avif)(-.)"'
