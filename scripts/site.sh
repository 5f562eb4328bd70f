#!/usr/bin/env bash
# Builds the site: the interface as its headers describe it, and the documents. A warning is an error.
#
#   scripts/site.sh [FOLDER]     where it goes; build/site if not said
#
# What it needs, scripts/install-deps.sh site installs.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:-build/site}
command -v doxygen >/dev/null || { echo "site: no doxygen here; scripts/install-deps.sh site installs it" >&2; exit 1; }

site=(README.md CHANGELOG.md docs/*.md include/*.h tools/opcua-cli/README.md demo/plant_server/README.md sdk/README.md)
settings() {
  cat packaging/site/Doxyfile
  echo "PROJECT_NUMBER = $(scripts/version.sh)"
  echo "INPUT = ${site[*]}"
  echo "IMAGE_PATH = $(find docs -type d | tr '\n' ' ')"
  echo "OUTPUT_DIRECTORY = \"$folder\""
}

rm -rf "$folder/html"
mkdir -p "$folder"
warnings=$(settings | SITE="${site[*]}" doxygen - 2>&1)
[ -z "$warnings" ] || { echo "$warnings" >&2; exit 1; }

cd "$folder/html"
[ -s index.html ]
dead=$(grep -oh '\(href\|src\)="[^":]*"' -- *.html | cut -d'"' -f2 | sort -u | while IFS='#' read -r file label; do
  [ -n "$file" ] || continue # a place in the same page
  { [ -e "$file" ] && { [ -z "$label" ] || grep -q "\(id\|name\)=\"$label\"" "$file"; }; } || echo "$file#$label"
done)
[ -z "$dead" ] || { echo "site: links lead nowhere:"$'\n'"$dead" >&2; exit 1; }
cd - >/dev/null
echo "site: $folder/html/index.html"
