#!/usr/bin/env bash
# Checks that the bash completion offers, and the manual page names, every command and option of the tool's help.
#
# usage: check_completion.sh QUORV COMPLETION MANUAL
set -euo pipefail
quorv=$1 manual=$(sed 's/\\-/-/g' "$3") checked=0
# shellcheck source=../../tools/completion/quorv.bash
. "$2"
[[ $(complete -p quorv) =~ -F\ ([^ ]+) ]] && completer=${BASH_REMATCH[1]}

# What is offered for the last of the words behind the tool's name.
offered() {
  COMP_WORDS=(quorv "$@") COMP_CWORD=$# COMPREPLY=()
  "$completer" quorv "${!#}" "${COMP_WORDS[COMP_CWORD - 1]}"
  printf '%s\n' ${COMPREPLY[@]+"${COMPREPLY[@]}"}
}
expect() { [ "$1" = "$2" ] || { printf 'expected:\n%s\ngot:\n%s\n' "$1" "$2"; exit 1; }; }

for command in $("$quorv" --help | awk '/^$/ { on = 0 } on { print $1 } /^Commands:/ { on = 1 }'); do
  for option in $("$quorv" "$command" --help | sed -nE 's/^  (-[a-z],)?(--[a-z0-9-]+).*/\2/p'); do
    expect "$command" "$(offered "$command")"
    expect "$option" "$(offered "$command" "$option" | grep -x -- "$option")"
    expect "$option" "$(grep -ow -m 1 -e "$option" <<<"$manual" | head -n 1)"
    checked=$((checked + 1))
  done
done
expect $'prev\nnext' "$(offered frames --mode "")"
expect "2" "$(offered decode --channels = 2)"
expect "$2" "$(offered info --json "${2%.bash}")"
[ "$checked" -ge 10 ]
