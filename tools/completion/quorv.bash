# Completion of quorv's command line in bash: commands, options, the values of options, names of files.

_quorv() {
  local word=$2 before=$3 options
  # In --option=value the sign is a word of its own.
  [[ $before == = ]] && before=${COMP_WORDS[COMP_CWORD - 2]}
  [[ $word == = ]] && word=

  local commands='info frames extract headers decode check repair report'
  if [[ $COMP_CWORD -eq 1 || (${COMP_WORDS[1]} == help && $COMP_CWORD -eq 2) ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands help --help --version" -- "$word")
    return
  fi
  case ${COMP_WORDS[1]} in
    info) options='--json' ;;
    frames) options='--json --md5 --track --from --mode' ;;
    extract) options='--track --output --frames-only' ;;
    headers) options='--json --track' ;;
    check) options='--json --jobs --files-from --null --md5 --save --against' ;;
    decode) options='--output --track --rate --channels --no-trim' ;;
    repair) options='--output --segment' ;;
    report) options='--output' ;;
    *) return ;;
  esac

  case $before in
    --mode) mapfile -t COMPREPLY < <(compgen -W 'prev next' -- "$word") ;;
    --channels) mapfile -t COMPREPLY < <(compgen -W '1 2' -- "$word") ;;
    --track | --from | --rate | --segment | --jobs) ;;  # numbers that only the user knows
    *)
      if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$word")
      else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
      fi
      ;;
  esac
}
complete -F _quorv quorv
