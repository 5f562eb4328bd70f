#!/usr/bin/env bash
# What every release of this major version offered, as its description has it, is still there: symbols, virtual slots,
# records, their fields and enumerators. What came since does not matter.
#
#   description.sh LIBRARY           compares with all of packaging/abi
#   description.sh LIBRARY --write   writes the description of the version that this is; for releases alone
set -euo pipefail
library=$(realpath "$1")
cd "$(dirname "$0")/../.."
version=$(scripts/version.sh)
descriptions=packaging/abi/libopcuaclient

readelf -S "$library" | grep '\.debug_info' >/dev/null ||
  { echo "$library has no debug information to look at" >&2; exit 1; }

if [ "${2:-}" = --write ]; then
  abidw --headers-dir include --drop-private-types --suppr packaging/abi/public.suppr --exported-interfaces-only \
    --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed --out-file "$descriptions-$version.abi" "$library"
  exit 0
fi

# With the folder of the headers, or with what is to be left out, it would pass over changed records without a word.
compare_with() { abidiff --exported-interfaces-only --no-added-syms "$1" "$library"; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
compared=0
for description in "$descriptions-${version%%.*}".*.abi; do
  compare_with "$description" >&2 || { echo "$library differs from $description" >&2; exit 1; }
  sed "/class-decl name='OpcUaNode' /s/size-in-bits='/&1/" "$description" >"$work/other.abi"
  ! compare_with "$work/other.abi" >"$work/said" || { echo "abidiff does not see a record of another size" >&2; exit 1; }
  grep -q 'type size changed' "$work/said" || { cat "$work/said" >&2; exit 1; }
  compared=$((compared + 1))
done
[ $compared -ge 1 ]
