#!/usr/bin/env bash
# opcuaclient(3) is well-formed and names every operation of the interface, and only those.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/packages/page.sh
page=packaging/man/opcuaclient.3
lint_page "$page"

operations() { sed -nE 's/^    [A-Za-z]+\**[ *]+(OpcUa[A-Za-z]+|GetErrorMsg|install[A-Za-z]+)\(.*/\1/p' include/OpcUaClientInterface.h | sort -u; }
[ "$(operations | wc -l)" -ge 22 ] || { echo "found only $(operations | wc -l) operations" >&2; exit 1; }
diff <(operations) <(sed -nE 's/^\.It Fn ([A-Za-z]+).*/\1/p' "$page" | sort -u) >&2 ||
  { echo "$page lacks operations (<) or has others (>)" >&2; exit 1; }
