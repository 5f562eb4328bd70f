#!/usr/bin/env bash
# The library exports exactly the symbols in libopcuaclient.symbols.
#
#   exported_symbols.sh LIBRARY            compares
#   exported_symbols.sh LIBRARY --update   writes the list anew; what goes away breaks applications
set -euo pipefail
library=$1
list=$(dirname "$0")/libopcuaclient.symbols

exported() {
  nm -D --defined-only --format=posix "$library" | awk '{ print $1 }' | LC_ALL=C sort
}

if [ "${2:-}" = --update ]; then
  exported >"$list"
  exit 0
fi
if ! difference=$(diff "$list" <(exported)); then
  echo "exports that are gone (<) or new (>):" >&2
  c++filt <<<"$difference" | grep '^[<>]' >&2
  exit 1
fi
# An engine's type in a name would tie the applications to that engine.
if named=$(exported | grep 'UA_'); then
  echo "exports that name a type of the engine:" >&2
  c++filt <<<"$named" >&2
  exit 1
fi
