# Completion of ovrel for fish.

complete -c ovrel -s h -l help -d 'Print help'
complete -c ovrel -s v -l version -d 'Print the version'
