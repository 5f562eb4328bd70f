#!/usr/bin/env bash
# A thread that nobody can wait for may still be in the libraries when the application has closed them: unloading them
# would take its code away.
#   stays_loaded.sh LIBRARY...
set -euo pipefail
failed=0
for library in "$@"; do
  readelf -d "$library" | grep -E '\(FLAGS_1\).* NODELETE' >/dev/null ||
    { echo "$library is not marked as one that stays loaded" >&2; failed=1; }
done
exit $failed
