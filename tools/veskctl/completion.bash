# Completion of veskctl in bash. The program itself knows what can follow.
_veskctl() {
  local word before='' words=()
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do # bash takes FIELD=VALUE apart
    if [[ ${#words[@]} -gt 0 && ($word == = || $before == =) ]]; then words[-1]+=$word; else words+=("$word"); fi
    before=$word
  done
  [[ ${words[-1]} != *=* ]] || return 0 # a value
  mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" complete -- "${words[@]}" 2>/dev/null)
  [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace
}
complete -o default -F _veskctl veskctl
