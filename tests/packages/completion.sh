#!/usr/bin/env bash
# What bash completes for opcua-cli is what the program takes.
#   completion.sh OPCUA_CLI
set -euo pipefail
program=$1
. "$(dirname "$0")/../../packaging/completion/opcua-cli.bash"
compopt() { asked_for+=" $*"; } # works only while a person types

# Completes the last of the words.
complete_words() {
  COMP_WORDS=("$program" "$@")
  COMP_CWORD=$#
  asked_for=
  COMPREPLY=()
  _opcua_cli "$program" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" || true # as bash does, nobody asks for its status
}
expect() {
  [ "$1" = "$2" ] || { printf "after '%s': expected\n%s\nfound\n%s\n" "${COMP_WORDS[*]:1}" "$1" "$2" >&2; exit 1; }
}

complete_words ''
expect "$("$program" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p')" "$(printf '%s\n' "${COMPREPLY[@]}")"
complete_words disc
expect discover "${COMPREPLY[*]}"
complete_words --vers
expect --version "${COMPREPLY[*]}"
complete_words read plant:4840 --fr
expect --from "${COMPREPLY[*]}"
complete_words help disc
expect discover "${COMPREPLY[*]}"
complete_words info plant:4840 --ve
expect --verbose "${COMPREPLY[*]}"
complete_words info plant:4840 --wa
expect --wait "${COMPREPLY[*]}"
complete_words cert --tru
expect "" "${COMPREPLY[*]}"
complete_words info plant:4840 --trust ''
expect "once always never" "${COMPREPLY[*]}"
complete_words read plant:4840 --from ''
expect " -o default" "$asked_for"
complete_words restore plant:4840 ''
expect " -o default" "$asked_for"
complete_words compare ''
expect " -o default" "$asked_for"
complete_words find plant:4840 '*' --from ''
expect "" "${COMPREPLY[*]}$asked_for"
complete_words read plant:4840 --max-nodes ''
expect "" "${COMPREPLY[*]}$asked_for"

export XDG_CONFIG_HOME
XDG_CONFIG_HOME=$(mktemp -d)
trap 'rm -r "$XDG_CONFIG_HOME"' EXIT
mkdir "$XDG_CONFIG_HOME/opcua-cli"
printf '[boiler]\nurl = h\n[ line1 ]\nurl = h\n' >"$XDG_CONFIG_HOME/opcua-cli/profiles.ini"
printf '[$(touch${IFS}%s/touched)]\nurl = h\n' "$XDG_CONFIG_HOME" >>"$XDG_CONFIG_HOME/opcua-cli/profiles.ini"
complete_words read @bo
expect @boiler "${COMPREPLY[*]}"
complete_words read @ li # as bash parts it
expect line1 "${COMPREPLY[*]}"
complete_words read @
expect "@boiler @line1" "${COMPREPLY[*]}"
[ ! -e "$XDG_CONFIG_HOME/touched" ] # what a file says is nothing to run
complete_words nonsense ''
expect "" "${COMPREPLY[*]}$asked_for"

# Every word that is offered for a value is one that the program's help or the program knows.
offered_for() {
  complete_words "$1" plant:4840 "$2" ''
  [ ${#COMPREPLY[@]} -ge 3 ] || { echo "nothing is offered for $2" >&2; exit 1; }
  printf '%s\n' "${COMPREPLY[@]}"
}
for option in --policy --mode --trust --trace; do
  described=$("$program" info --help | sed -nE "s/^ +$option //p")
  for word in $(offered_for info "$option"); do
    grep -qw -- "$word" <<<"$described" || { echo "$option $word is offered, not known" >&2; exit 1; }
  done
done
