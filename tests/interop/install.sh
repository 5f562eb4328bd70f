#!/usr/bin/env bash
# Installs the servers of another family that the interoperability tests talk to, and what runs them, exactly as the
# lock files have it. Silent when all is there.
set -euo pipefail
cd "$(dirname "$0")"
exec 9<install.sh
flock 9 # two test runs may begin at once
for folder in node node-opcua-*; do
  installed=$folder/node_modules/.installed
  [ "$installed" -nt "$folder/package-lock.json" ] && [ "$installed" -nt "$folder/package.json" ] && continue
  echo "interop: installing the packages of $folder/package-lock.json"
  npm ci --prefix "$folder" --omit=dev --no-audit --no-fund --loglevel=error
  touch "$installed"
done
