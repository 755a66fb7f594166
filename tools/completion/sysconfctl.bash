# shellcheck shell=bash
# Completion of sysconfctl in bash. The tool lists the candidates, quoted for insertion. Nothing of the
# line is expanded or run.

_sysconfctl() {
  local line=${COMP_LINE-} tool=$1 kind='' IFS=$' \t\n'
  if [[ -n $line ]]; then
    line=${line:0:COMP_POINT}
  else
    line=${COMP_WORDS[*]:0:COMP_CWORD+1}
  fi
  type -P -- "$tool" >/dev/null || tool=sysconfctl
  {
    read -r kind
    mapfile -t COMPREPLY
  } < <("$tool" __complete bash "$COMP_WORDBREAKS" "$line" 2>/dev/null)
  if [[ $kind == :files ]]; then
    compopt -o default 2>/dev/null
  elif [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]]; then
    compopt -o nospace 2>/dev/null # the value follows immediately
  fi
}

complete -F _sysconfctl sysconfctl
