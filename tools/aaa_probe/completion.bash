# shellcheck shell=bash
# Completion of aaa-probe for bash.

_aaa_probe_options() { # COMMAND
  local common="--directory --aaad-uid --model --timeout --json --help"
  local password="--password-stdin --password-file"
  local places="--nas-port-id --called-station --calling-station --chargeable-user-identity"
  local load="--repeat --parallel --rate"
  local report="--session --class --class-hex --delay $places $load"
  local totals="--seconds --octets-in --octets-out --packets-in --packets-out"
  case $1 in
    login)
      echo "$common $password $places $load --state --session --nas-ip-address --nas-port" \
        "--nas-port-type --service-type"
      ;;
    acct-start) echo "$common $report" ;;
    acct-interim) echo "$common $report $totals" ;;
    acct-stop) echo "$common $report $totals --terminate-cause" ;;
    query-method-list) echo "$common --kind" ;;
    query-group) echo "$common --state" ;;
    passwd) echo "$common $password --new-password-file" ;;
    ldap) echo "$common --base --filter" ;;
    "") echo "$common --version" ;;
    *) echo "$common" ;;
  esac
}

_aaa_probe_commands() { # COMMAND
  case $1 in
    "") echo "login acct query passwd ldap watch" ;;
    acct) echo "start interim stop" ;;
    query) echo "status method-list group session-id" ;;
  esac
}

# The command that the words before the cursor name, such as "login" or "acct-stop".
_aaa_probe_command() {
  local word command="" skips=false
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if $skips; then
      skips=false
    elif [[ $word == -* ]]; then
      _aaa_probe_has_value "$word" && skips=true
    elif [[ " $(_aaa_probe_commands "$command") " == *" $word "* ]]; then
      command=${command:+$command-}$word
    fi
  done
  echo "$command"
}

_aaa_probe_has_value() { # OPTION
  case $1 in
    --json | --password-stdin | --help | --version | -h | --*=*) return 1 ;;
  esac
}

_aaa_probe() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command
  COMPREPLY=()
  case $before in
    --directory | -d)
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    --password-file | --new-password-file)
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
  esac
  if [[ $before == -* ]] && _aaa_probe_has_value "$before"; then return; fi
  command=$(_aaa_probe_command)
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_aaa_probe_options "$command")" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -W "$(_aaa_probe_commands "$command")" -- "$word")
  fi
}

complete -F _aaa_probe aaa-probe
