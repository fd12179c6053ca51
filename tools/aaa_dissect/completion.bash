# shellcheck shell=bash
# Completion of aaa-dissect for bash.

_aaa_dissect() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  case $before in
    --tap | --directory | -d) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
    --write) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    *)
      if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--json --secrets --tap --directory --write --quiet \
          --help --version" -- "$word")
      else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
      fi
      ;;
  esac
}

complete -F _aaa_dissect aaa-dissect
