#!/usr/bin/env bash
# Builds the client and a simulated plant, and takes a tour: from an address on the network, over the question whom to
# trust, to values read and written on an encrypted connection.
# Installs what the build needs first (as root or with sudo). Leaves nothing running.
set -euo pipefail
cd "$(dirname "$0")"

build=build/demo
work=$(mktemp -d)
server=
clean_up() {
  [ -z "$server" ] || kill -KILL "$server" 2>/dev/null || true
  wait
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

bold= dim= plain=
if [ -t 1 ] && [ -z "${NO_COLOR:-}" ]; then
  bold=$'\e[1m' dim=$'\e[2m' plain=$'\e[0m'
fi
heading() { printf '\n%s== %s ==%s\n' "$bold" "$1" "$plain"; }
explain() { printf '\n%s%s%s\n' "$dim" "$1" "$plain"; }
die() {
  printf 'run-demo: %s\n' "$*" >&2
  exit 1
}

# Shows a command as it could be typed.
announce() {
  local word line='$ opcua-cli'
  for word in "$@"; do
    case $word in
    *[!A-Za-z0-9_./:=@%+,-]* | '') line+=" '$word'" ;;
    *) line+=" $word" ;;
    esac
  done
  printf '\n%s%s%s\n' "$bold" "$line" "$plain"
}
# Announces a command and runs it. What it prints is kept for expect().
run() { run_ending_with 0 "$@"; }
run_ending_with() {
  local wanted=$1 code=0
  shift
  announce "$@"
  "$work/bin/opcua-cli" "$@" 2>&1 | tee "$work/output" || code=$?
  [ $code -eq "$wanted" ] || die "opcua-cli ended with exit code $code"
}
expect() {
  grep -qF -- "$1" "$work/output" || die "'$1' should have been in this output"
}

heading "1  Build"
scripts/install-deps.sh build
. scripts/use-ccache.sh
explain "Compiling the library, its command-line client and the plant; about a minute the first time."
{
  cmake --preset release -B "$build" -DCMAKE_UNITY_BUILD=ON -DOPCUACLIENT_BUILD_TESTS=OFF \
    -DOPCUACLIENT_BUILD_BENCH=OFF &&
    cmake --build "$build" --target plant_server opcua-cli
} >"$work/build.log" 2>&1 || { cat "$work/build.log" >&2; die "the build failed"; }

# Certificates and trust lie beside the program: those of this tour go with it.
unset OPCUACLIENT_DIRECTORY
mkdir "$work/bin"
cp "$build/bin/opcua-cli" "$work/bin"

heading "2  Start the plant"
explain "A simulated dairy with filling lines, a boiler, tanks and conveyors, on a free port of this machine."
mkfifo "$work/ready"
"$build/bin/plant_server" --port 0 --security >"$work/ready" 2>"$work/server.log" &
server=$!
exec 3<"$work/ready"
read -r -t 30 ready <&3 || { cat "$work/server.log" >&2; die "the plant server did not start"; }
printf '\n%s$ plant_server --port 0 --security%s\n%s\n' "$bold" "$plain" "$ready"
address=${ready##*opc.tcp://}

heading "3  Who is there?"
explain "Discovery needs no session: it asks an address for its servers and the ways to connect to each."
run discover "$address"
expect "$address"

heading "4  Whom to trust?"
explain "The tour goes on encrypted and as the user operator, whose password is in the environment: nobody sees it in the list
of processes. This client has never met this server, and there is nobody to ask here, so it shows the certificate and
stays away. On a terminal it asks: this time, always, or no?"
export OPCUA_CLI_PASSWORD=plant
printf '\n%s$ export OPCUA_CLI_PASSWORD=plant%s\n' "$bold" "$plain"
run_ending_with 3 info "$address" --policy Basic256Sha256 --mode SignAndEncrypt --user operator
expect 'Thumbprint'
explain "The thumbprint is what one compares with the server's operator. This one is ours: from now on it is trusted."
run info "$address" --policy Basic256Sha256 --mode SignAndEncrypt --user operator --trust always
expect 'connected, Basic256Sha256, SignAndEncrypt, user operator'
explain "It is in the trust list now. Above it is the client's own certificate, made on the way, which a server's operator wants
to have."
run cert
expect urn:kestrova:plant-server
explain "From here on a user's name is enough: it never travels without Basic256Sha256 and SignAndEncrypt unless one says so."
login=(--user operator)

heading "5  What does it have?"
explain "The address space is a tree. Types and shapes are those of the values that the nodes hold now."
run browse "$address" /Plant "${login[@]}" --depth 2
expect SpeedSetpoint
explain "Further down, with the values:"
run browse "$address" /Plant/Boiler "${login[@]}" --depth 2 --values
expect PumpOn
explain "Arrays and matrices show their lengths:"
run browse "$address" /TestRack/Matrix3 "${login[@]}"

heading "6  Read"
explain "All twelve types. A node is named by its path or by its node id."
types=(Boolean SByte Byte Int16 UInt16 Int32 UInt32 Int64 UInt64 Float Double String)
run read "$address" "${login[@]}" "${types[@]/#//TestRack/Scalar/}"
expect Hello
explain "Values that move, by node id:"
run read "$address" "${login[@]}" 'ns=2;s=Boiler.Drum.Pressure' 'ns=2;s=Tanks.Tank1.Level' --type Double

heading "7  Write, and read it back"
explain "The text is turned into the node's own type; a value that doesn't fit is refused before anything is sent."
write_and_read_back() {
  run write "$address" "$1" "$2" "${login[@]}"
  run read "$address" "$1" "${login[@]}"
  expect "$3"
}
write_and_read_back /Plant/Line1/SpeedSetpoint 2.25 2.25
write_and_read_back /Plant/Line1/Batch 'Käse 4711' 'Käse 4711'
write_and_read_back /Plant/Conveyors/Conveyor3/Mode 2 2

heading "8  Arrays, many at once, and a snapshot"
explain "A matrix is a table; --index picks one element: row, column, counted from 0."
run read "$address" /TestRack/Matrix2/Double "${login[@]}"
run write "$address" /TestRack/Matrix2/Double 99.5 --index 1,2 "${login[@]}"
run read "$address" /TestRack/Matrix2/Double --index 1,2 "${login[@]}"
expect 99.5
explain "Many nodes from a CSV file, whole arrays among them:"
cat >"$work/recipe.csv" <<'END'
node,value
ns=2;s=Line1.Batch,"Butter, ""mild"""
/Plant/Line1/SpeedSetpoint,1.75
/Plant/Line1/Recipe,"[""Rahm"", ""Salz"", """", """", """"]"
/Plant/Line1/ZoneTemperatures,"[72.5, 74, 75, 75, 74, 72.5, 60, 20]"
END
cat "$work/recipe.csv"
run write "$address" --from "$work/recipe.csv" "${login[@]}"
run read "$address" --from "$work/recipe.csv" "${login[@]}"
expect Butter
explain "The values of a folder go to a file. Then something changes, and is put back:"
run snapshot "$address" /TestRack/Scalar --output "$work/snapshot.json" "${login[@]}"
run write "$address" /TestRack/Scalar/Int32 1 /TestRack/Scalar/String Changed "${login[@]}"
run restore "$address" "$work/snapshot.json" --dry-run "${login[@]}"
expect "would be written"
run restore "$address" "$work/snapshot.json" "${login[@]}"
expect "10 unchanged, 2 written"

heading "9  Watch"
explain "Ten seconds of a folder and a counter, told by the server as they change: a live table on a terminal, lines in a pipe."
watch=(monitor "$address" /Plant/Boiler/Drum /Plant/Line1/PartCount "${login[@]}" --interval 1000 --duration 10)
if [ -t 1 ]; then
  announce "${watch[@]}"
  "$work/bin/opcua-cli" "${watch[@]}" || die "opcua-cli monitor ended with exit code $?"
else
  run "${watch[@]}"
  expect Boiler.Drum.Level
fi

heading "10  Stop"
explain "Every command has closed its session; the plant is asked to stop."
kill -TERM "$server"
code=0
wait "$server" || code=$?
server=
[ $code -eq 0 ] || { cat "$work/server.log" >&2; die "the plant server ended with exit code $code"; }
printf '\nDone. To go on by yourself:\n\n  %s/bin/plant_server --security &\n  %s/bin/opcua-cli browse 127.0.0.1:4840 --depth 3 --values --user operator\n' \
  "$build" "$build"
