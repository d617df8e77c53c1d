# Completion of veskctl in bash. The program itself knows what can follow.
_veskctl() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  [ "$word" != = ] && [ "$before" != = ] || return 0 # a value
  mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace
}
complete -o default -F _veskctl veskctl
