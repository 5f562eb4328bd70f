#!/usr/bin/env bash
# The package's symbols file, by which programs learn the oldest version that will do, has exactly the library's exports,
# none of them newer than the library.
set -euo pipefail
cd "$(dirname "$0")/../.."
symbols=packaging/debian/libopcuaclient1.symbols
entries=$(grep '^ ' "$symbols")

diff tests/abi/libopcuaclient.symbols <(sed -E 's/^ (.*)@Base [0-9.]+$/\1/' <<<"$entries") >&2 ||
  { echo "$symbols lacks exports (<) or has others (>)" >&2; exit 1; }

version=$(scripts/version.sh)
newest=$(awk '{ print $2 }' <<<"$entries" | sort -uV | tail -1)
[ "$(printf '%s\n' "$newest" "$version" | sort -V | tail -1)" = "$version" ] ||
  { echo "$symbols speaks of version $newest, the library is $version" >&2; exit 1; }
