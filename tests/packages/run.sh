#!/usr/bin/env bash
# Packages for one release of Debian: made in one bare system, used in another one beside the plant server here.
#   run.sh 12|13
# They are left in build/packages/debian12|13. Needs root, and the plant server of the preset `dev`.
set -euo pipefail
cd "$(dirname "$0")/../.."
release=$1

shared=build/packages/debian$release
rm -rf "$shared"
mkdir -p "$shared"
work=$(mktemp -d)
server=
clean_up() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  wait
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

scripts/in-debian.sh --share "$shared" "$release" tests/packages/make.sh /root/shared

mkfifo "$work/ready"
build/dev/bin/plant_server --port 0 --security >"$work/ready" &
server=$!
exec 3<"$work/ready"
read -r -t 30 ready <&3 || { echo "packages: the plant server did not start" >&2; exit 1; }
scripts/in-debian.sh --share "$shared" "$release" tests/packages/use.sh /root/shared "opc.tcp://${ready##*opc.tcp://}"
