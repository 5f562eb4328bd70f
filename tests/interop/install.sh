#!/usr/bin/env bash
# Installs the server of another family that the interoperability tests talk to, exactly as the lock file has it.
# Silent when it is there.
set -euo pipefail
cd "$(dirname "$0")"
[ node_modules/.installed -nt package-lock.json ] && [ node_modules/.installed -nt package.json ] && exit 0
echo "interop: installing the packages of package-lock.json"
npm ci --omit=dev --no-audit --no-fund --loglevel=error
touch node_modules/.installed
