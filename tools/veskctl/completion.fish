# Completion of veskctl in fish. The program itself knows what can follow.
function __veskctl_find
    set -l words (commandline -opc)
    set -l last (commandline -ct)
    string match -q '*=*' -- "$last"; and return 1 # a value
    set -g __veskctl_found ($words[1] complete --describe -- $words[2..] "$last" 2>/dev/null | string replace ' ' \t)
    set -q __veskctl_found[1]
end
complete -c veskctl -f -n __veskctl_find -a '$__veskctl_found'
