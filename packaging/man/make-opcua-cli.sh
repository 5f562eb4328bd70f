#!/usr/bin/env bash
# Makes the manual page of opcua-cli from opcua-cli.1.in and from what the program says of its commands.
#   make-opcua-cli.sh OPCUA_CLI PAGE
set -euo pipefail
program=$1 page=$2
here=$(dirname "$0")

commands() { "$program" --help | awk '/^Subcommands:/ { inside = 1; next } /^[^ ]/ { inside = 0 } inside && /^  [a-z]/ { print $1 }'; }

named=$(commands)
[ "$(wc -w <<<"$named")" -ge 2 ] || { echo "make-opcua-cli: $program --help names no commands" >&2; exit 1; }
described=$(for command in $named; do
  printf '\f%s\n' "$command"
  "$program" "$command" --help
done | awk -f "$here/commands.awk")
for part in "COMMANDS" "COMMON OPTIONS"; do
  grep -qx ".Sh $part" <<<"$described" || { echo "make-opcua-cli: no $part in the help" >&2; exit 1; }
done
while IFS= read -r line; do
  if [ "$line" = @COMMANDS@ ]; then echo "$described"; else echo "$line"; fi
done <"$here/opcua-cli.1.in" >"$page.new"
mv "$page.new" "$page"
