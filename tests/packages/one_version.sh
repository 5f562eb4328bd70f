#!/usr/bin/env bash
# The version stands in CMakeLists.txt; besides, only records of releases name one.
set -euo pipefail
cd "$(dirname "$0")/../.."
version=$(scripts/version.sh)

newest=$(sed -n 's/^## //p' CHANGELOG.md | head -1)
[[ $newest == '[Unreleased]' || $newest =~ ^"[$version] - "20[0-9]{2}-[0-9]{2}-[0-9]{2}$ ]] ||
  { echo "CHANGELOG.md begins with '$newest', CMakeLists.txt has version $version" >&2; exit 1; }

named=$(grep -rnIwF --exclude-dir={build,.git,abi,tests} --exclude='*.symbols' --exclude=CHANGELOG.md "$version" .)
if [ "$named" != "./CMakeLists.txt:$(grep -nF "project(OpcUaClient VERSION $version " CMakeLists.txt)" ]; then
  printf 'version %s should stand in one place:\n%s\n' "$version" "$named" >&2
  exit 1
fi
