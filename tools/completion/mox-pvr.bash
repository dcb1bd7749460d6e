# shellcheck shell=bash
# Completion of mox-pvr for bash. The program itself knows what may come next, so this file names
# neither verbs nor options. Words are split here because bash would take = for the end of a word.
_mox_pvr() {
  local line=${COMP_LINE:0:COMP_POINT} words
  read -ra words <<<"$line"
  [[ $line != *[[:space:]] ]] || words+=("")
  mapfile -t COMPREPLY < <("$1" --complete "${words[@]:1}" 2>/dev/null)
  [[ ${COMPREPLY[0]-} != *= ]] || compopt -o nospace 2>/dev/null
}
complete -o default -F _mox_pvr mox-pvr
