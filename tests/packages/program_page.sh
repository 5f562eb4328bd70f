#!/usr/bin/env bash
# opcua-cli(1) is well-formed and has every command, and every option with its text.
#   program_page.sh OPCUA_CLI PAGE
set -euo pipefail
. "$(dirname "$0")/page.sh"
program=$1 page=$2
lint_page "$page"
text=$(page_text "$page")

count=0
expect() {
  count=$((count + 1))
  [[ $text == *"$1"* ]] || { echo "$page has no '$1'" >&2; exit 1; }
}
for command in $("$program" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'); do
  expect " opcua-cli $command "
  while read -r option; do
    expect "$option"
  done < <("$program" "$command" --help | sed -nE 's/^  ?(-.*)/\1/p' | sed -E 's/^-([a-z]),/-\1, /' | tr -s ' ')
done
[ $count -ge 60 ] || { echo "found only $count commands and options" >&2; exit 1; }
