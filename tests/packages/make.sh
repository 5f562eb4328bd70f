#!/usr/bin/env bash
# In a bare system: makes the packages, and has nothing to say against them.   make.sh FOLDER
set -euo pipefail
folder=$1
scripts/install-deps.sh package
scripts/package.sh "$folder" >"$folder/package.log" 2>&1 || { tail -n 50 "$folder/package.log" >&2; exit 1; }
tail -n 1 "$folder/package.log"
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$folder"/*.changes
echo "packages: lintian has no error and no warning"
scripts/install-deps.sh site
scripts/site.sh "$folder/site"
