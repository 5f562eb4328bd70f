# Sourced. Looks at manual pages.

# mandoc's opinion of the page in $1, but for references to our own pages, which are not installed here.
lint_page() {
  local complaints
  [ -s "$1" ] || { echo "no page $1" >&2; return 1; }
  complaints=$(mandoc -T lint "$1" | grep -vE 'referenced manual not found: Xr (opcua-cli 1|opcuaclient 3)$' || true)
  [ -z "$complaints" ] || { echo "$complaints" >&2; return 1; }
}

# The page as plain text, each run of blanks as one.
page_text() { mandoc -T ascii -O width=200 "$1" | sed 's/.\x08//g' | tr -s ' \n' ' '; }
