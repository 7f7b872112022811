# Completion of ovrel-cli for fish.

complete -c ovrel-cli -s o -l output -r -x -a '(__fish_complete_directories)' -d 'Folder for the results'
complete -c ovrel-cli -l no-recursive -d 'Leave out the folders inside given folders'
complete -c ovrel-cli -l files-from -r -F -d 'Also take the paths in this file'
complete -c ovrel-cli -s 0 -l null -d 'A NUL ends each path of the list'
complete -c ovrel-cli -l skip-existing -d 'Leave out a source whose first result name exists'
complete -c ovrel-cli -s q -l quality -x -d 'From 1, smaller file, to 100, more detail'
complete -c ovrel-cli -s m -l mode -x -a 'efficient system' -d Encoder
complete -c ovrel-cli -s s -l speed -x -a 'fast balanced thorough' -d Speed
complete -c ovrel-cli -s j -l jobs -x -d 'How many images at once'
complete -c ovrel-cli -l preserve-times -d 'Give a result the modification time of its source'
complete -c ovrel-cli -s n -l dry-run -d 'Say what would be done; write nothing'
complete -c ovrel-cli -l json -d 'Print one JSON object a line for each image'
complete -c ovrel-cli -l quiet -d 'Print failures only'
complete -c ovrel-cli -l language -x -a 'en ru' -d 'Language of what is printed'
complete -c ovrel-cli -l version -d 'Print the versions of Ovrel and of its codecs'
complete -c ovrel-cli -s h -l help -d 'Print help'
