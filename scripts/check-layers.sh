#!/usr/bin/env bash
# Holds the walls between the layers: which folder may include what, and what the built library may import.
#
#   scripts/check-layers.sh [BUILD_FOLDER]     with a build folder the library in it is looked at, too
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-}
failures=0

report() {
  echo "check-layers: $1" >&2
  failures=$((failures + 1))
}

# "file:line <header>" or "file:line "header"" for every include below the folders given.
includes_below() {
  grep -rnE --include='*.h' --include='*.cpp' --include='*.c' --exclude-dir=node_modules \
    '^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]' "$@" |
    sed -E 's/^([^:]+:[0-9]+):[[:space:]]*#[[:space:]]*include[[:space:]]*([<"][^>"]+[>"]).*/\1 \2/'
}

# $1 folders (space separated), $2 pattern of forbidden headers, $3 what to say
forbid() {
  local folder found
  for folder in $1; do
    found=$(includes_below "$folder" | grep -E " [<\"]($2)" || true)
    [ -z "$found" ] || report "$3:"$'\n'"$found"
  done
}

engine='open62541|mbedtls/'
crypto='openssl/'

[ -n "$(includes_below src)" ] || report "no includes found below src/: the check itself is broken"

forbid "include src examples" "$engine|$crypto" "only sdk/ knows the engine and the cryptography"
forbid "tools" "$engine" "only sdk/ knows the engine"
forbid "tests/cli" 'CLI/' "only tools/opcua-cli/command_line/ knows CLI11"
forbid "demo bench" "$crypto" "only sdk/ knows the cryptography"
forbid "sdk/stack sdk/base sdk/client" "$crypto" "cryptography belongs to sdk/pki"
forbid "sdk/stack" 'uabase/|uapki/|uaclient/' "sdk/stack is the lowest layer"
forbid "sdk/base" 'uapki/|uaclient/' "sdk/base knows sdk/stack alone"
[ ! -d sdk/pki ] || forbid "sdk/pki" 'uaclient/|open62541' "sdk/pki knows sdk/base and sdk/stack alone"
forbid "sdk" 'OpcUa(Client|Helpers|Types|Nodelist)' "the SDK does not know who uses it"

# include/ stands on the standard library alone: its headers have no extension.
found=$(includes_below include | grep -vE ' (<[a-z_0-9]+>|"OpcUa(ClientInterface|Helpers|Types|Nodelist)\.h")$' || true)
[ -z "$found" ] || report "include/ needs nothing but the standard library:"$'\n'"$found"

# What an application can't do through include/, the tools and examples can't either. The tool shows certificates that
# are no connection's, and the places of the library's files: it reads both with what the library reads them with.
found=$(includes_below tools examples |
  grep -vE ' <([a-z_0-9]+|(sys|netinet|arpa)/[a-z_0-9]+\.h|(unistd|signal|poll|fcntl|dlfcn|pthread|termios|locale|strings)\.h|nlohmann/.*)>$' |
  grep -vE '^examples/window_panel/[^ ]+ <Q[A-Za-z]+>$' |
  grep -vE '^tools/opcua-cli/(command_line/command_line\.cpp:[0-9]+ <CLI/CLI\.hpp>|security/certificate\.cpp:[0-9]+ <openssl/[a-z0-9_]+\.h>|files/library_files\.cpp:[0-9]+ <SimpleIni\.h>|record/recording\.cpp:[0-9]+ <sqlite3\.h>|shell/line_editor\.cpp:[0-9]+ <histedit\.h>)$' |
  while read -r place header; do
    header=${header//\"/}
    program=$(cut -d/ -f1,2 <<<"$place") # tools/opcua-cli, examples/first_program
    [ -e "include/$header" ] || [ -e "$program/$header" ] || [ -e "$(dirname "${place%%:*}")/$header" ] ||
      echo "$place $header"
  done)
[ -z "$found" ] || report "tools/ and examples/ use include/, the standard library and nlohmann/json alone (command_line.cpp CLI11, certificate.cpp OpenSSL, library_files.cpp SimpleIni, recording.cpp SQLite, line_editor.cpp libedit, the window panel Qt):"$'\n'"$found"

found=$(grep -rnwE --include='*.h' --include='*.cpp' 'UA_[A-Za-z_]+' include src tools examples || true)
[ -z "$found" ] || report "a name of the engine outside sdk/:"$'\n'"$found"

if [ -n "$build" ]; then
  library=$build/lib/libopcuaclient.so
  [ -e "$library" ] || { echo "check-layers: no $library" >&2; exit 1; }
  imports=$(nm -D --undefined-only "$library" | awk '{ print $2 }')
  found=$(grep -E '^(UA_|SSL_|EVP_|X509|PEM_|BIO_|RSA_|OPENSSL_|CRYPTO_|mbedtls_)' <<<"$imports" || true)
  [ -z "$found" ] || report "libopcuaclient.so imports from the engine or the cryptography:"$'\n'"$found"
  found=$(readelf -d "$library" | grep NEEDED | grep -E 'open62541|libssl|libcrypto|mbed' || true)
  [ -z "$found" ] || report "libopcuaclient.so is linked to the engine or the cryptography:"$'\n'"$found"
fi

[ $failures -eq 0 ] || exit 1
echo "check-layers: the walls stand"
