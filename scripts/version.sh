#!/usr/bin/env bash
# Prints the version, which stands in CMakeLists.txt and nowhere else.
set -euo pipefail
version=$(sed -nE 's/^project\(OpcUaClient VERSION ([0-9]+\.[0-9]+\.[0-9]+) .*/\1/p' "$(dirname "$0")/../CMakeLists.txt")
echo "${version:?no version in CMakeLists.txt}"
