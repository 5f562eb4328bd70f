#!/usr/bin/env bash
# Every public header compiles by itself, without a warning.   headers_alone.sh COMPILER STANDARD FOLDER
set -euo pipefail
compiler=$1 standard=$2 folder=$3
count=0
for header in "$folder"/*.h; do
  echo "#include \"$(basename "$header")\"" |
    "$compiler" -std="$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only -I "$folder" -x c++ -
  count=$((count + 1))
done
[ "$count" -ge 4 ] || { echo "only $count headers in $folder" >&2; exit 1; }
