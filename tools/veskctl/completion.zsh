#compdef veskctl
# Completion of veskctl in zsh. The program itself knows what can follow.
_veskctl() {
  local -a found others
  if compset -P '*='; then # a value
    _files
    return
  fi
  found=(${(f)"$("${(Q)words[1]}" complete --describe -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)"})
  if (( $#found == 0 )); then
    _files
    return
  fi
  compadd -S '' -- ${(M)found:#*=}
  others=(${${found:#*=}/ /:})
  _describe veskctl others
}
if [ "$funcstack[1]" = _veskctl ]; then # zsh has loaded this file to complete something
  _veskctl "$@"
else
  compdef _veskctl veskctl
fi
