#!/usr/bin/env bash
# The version stands in CMakeLists.txt; besides, only records of releases name one.
set -euo pipefail
cd "$(dirname "$0")/../.."
version=$(scripts/version.sh)

newest=$(sed -n 's/^## //p' CHANGELOG.md | head -1)
[[ $newest == '[Unreleased]' || $newest =~ ^"[$version] - "20[0-9]{2}-[0-9]{2}-[0-9]{2}$ ]] ||
  { echo "CHANGELOG.md begins with '$newest', CMakeLists.txt has version $version" >&2; exit 1; }

named=$(grep -rnwF "$version" CMakeLists.txt CMakePresets.json README.md bench/*.txt cmake demo docs examples include packaging \
  run-*.sh scripts sdk src tools --exclude-dir=node_modules --exclude-dir=abi --exclude='*.symbols')
if [ "$named" != "CMakeLists.txt:$(grep -nF "project(OpcUaClient VERSION $version " CMakeLists.txt)" ]; then
  printf 'version %s should stand in one place:\n%s\n' "$version" "$named" >&2
  exit 1
fi
