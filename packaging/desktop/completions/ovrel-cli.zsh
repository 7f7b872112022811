#compdef ovrel-cli
# Completion of ovrel-cli for zsh.

_arguments -s -S \
    '(-o --output)'{-o+,--output=}'[folder for the results]:folder:_files -/' \
    '--no-recursive[leave out the folders inside given folders]' \
    '--files-from=[also take the paths in this file]:list:_files' \
    '(-0 --null)'{-0,--null}'[a NUL ends each path of the list]' \
    '--skip-existing[leave out a source whose first result name exists]' \
    '(-q --quality)'{-q+,--quality=}'[from 1, smaller file, to 100, more detail]:quality:' \
    '(-m --mode)'{-m+,--mode=}'[encoder]:mode:(efficient system)' \
    '(-s --speed)'{-s+,--speed=}'[speed]:speed:(fast balanced thorough)' \
    '(-j --jobs)'{-j+,--jobs=}'[how many images at once]:number:' \
    '--preserve-times[give a result the modification time of its source]' \
    '(-n --dry-run)'{-n,--dry-run}'[say what would be done; write nothing]' \
    '--json[print one JSON object a line for each image]' \
    '--quiet[print failures only]' \
    '--language=[language of what is printed]:language:(en ru)' \
    '(- *)--version[print the versions of Ovrel and of its codecs]' \
    '(- *)'{-h,--help}'[print help]' \
    '*:image or folder:_files -g "*.(#i)(jpg|jpeg|png|webp|gif|avif)(-.)"'
