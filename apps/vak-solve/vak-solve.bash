# Completion of vak-solve for bash; bash-completion loads it when the command is first completed.
# shellcheck shell=bash

_vak_solve() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local options='--set --fix --remove --minimize --maximize --time-limit --gap --write --rows --json
    --report --quiet --help --version'
  COMPREPLY=()

  # The equals sign behind an option counts as a word of its own: what is completed is behind it.
  [[ $previous == "=" ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}
  [[ $word == "=" ]] && previous=${COMP_WORDS[COMP_CWORD - 1]} word=""

  case $previous in
    --set | --fix | --remove | --time-limit | --gap | --rows)
      return
      ;;
    --write)
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    return
  fi
  # Model files, and directories in which there may be some.
  mapfile -t COMPREPLY < <(
    compgen -d -- "$word"
    compgen -f -- "$word" | grep -E '\.(mps|lp)(\.(gz|bz2))?$'
  )
}

complete -o filenames -F _vak_solve vak-solve
