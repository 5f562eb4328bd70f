#!/usr/bin/env bash
# The library's name and the libraries it asks for are part of what applications and installers count on.
#   dependencies.sh LIBRARY
set -euo pipefail
dynamic=$(readelf -d "$1")
entries() {
  sed -nE "s/.*\($1\).*\[(.*)\]/\1/p" <<<"$dynamic" | LC_ALL=C sort
}
failed=0
expect() {
  [ "$2" = "$3" ] || { printf '%s: expected\n%s\nfound\n%s\n' "$1" "$2" "$3" >&2; failed=1; }
}

allowed() {
  grep -vE '^lib(uastack|uabasecpp|uapkicpp|uaclientcpp)\.so\.1$' |
    grep -vE '^(libstdc\+\+\.so\.6|libgcc_s\.so\.1|libc\.so\.6|libm\.so\.6|ld-linux-x86-64\.so\.2)$' || true
}

expect "soname" libopcuaclient.so.1 "$(entries SONAME)"
expect "the SDK's client library" libuaclientcpp.so.1 "$(entries NEEDED | grep '^libuaclientcpp')"
expect "other libraries" "" "$(entries NEEDED | allowed)"
exit $failed
