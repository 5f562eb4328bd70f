#!/usr/bin/env bash
# Installs what the build, the tests and the benchmarks need, from Debian's archive alone.
# Silent when everything is there; otherwise says what it installs. Needs root or sudo.
set -euo pipefail

base_packages=(
  cmake g++ make ninja-build pkg-config python3
  libssl-dev libsimpleini-dev libspdlog-dev libcli11-dev nlohmann-json3-dev
)
test_packages=(
  clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  openssl iproute2 procps
)
# The CMake package of the engine is incomplete without its tools package.
engine_packages=(libopen62541-1.4-dev libopen62541-1.4-tools)

installed() {
  dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null | grep -qx installed
}

missing=()
for package in "${base_packages[@]}" "${test_packages[@]}"; do
  installed "$package" || missing+=("$package")
done
engine_missing=false
for package in "${engine_packages[@]}"; do
  installed "$package" || engine_missing=true
done
if [ ${#missing[@]} -eq 0 ] && ! $engine_missing; then
  exit 0
fi

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}
apt_get() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o Dpkg::Use-Pty=0 "$@"
}

. /etc/os-release
release=${VERSION_ID:-0}
if [ "${ID:-}" != debian ] || [ "${release%%.*}" -lt 12 ]; then
  echo "install-deps: this script knows Debian 12 and later; here is ${PRETTY_NAME:-an unknown system}." >&2
  echo "install-deps: install these yourself: ${missing[*]} ${engine_packages[*]}" >&2
  exit 1
fi

# Debian 12 carries no open62541: its package comes from the two later suites, which are pinned so low
# that nothing else is ever taken from them.
add_engine_suites() {
  local archive keyring suites
  archive=$(apt-get indextargets --format '$(REPO_URI) $(COMPONENT) $(ORIGIN) $(SUITE)' 'Created-By: Packages' |
    awk '$2 == "main" && $3 == "Debian" && $4 !~ /security/ { print $1; exit }')
  if [ -z "$archive" ]; then
    echo "install-deps: no Debian archive in this machine's apt configuration" >&2
    exit 1
  fi
  keyring=/usr/share/keyrings/debian-archive-keyring.gpg
  suites="sid"
  [ "${release%%.*}" -ge 13 ] || suites="trixie sid"
  as_root tee /etc/apt/sources.list.d/opcuaclient-engine.sources >/dev/null <<SOURCES
Types: deb
URIs: $archive
Suites: $suites
Components: main
Signed-By: $keyring
SOURCES
  local trixie_pin=""
  if [ "${release%%.*}" -lt 13 ]; then
    trixie_pin=$'Package: *\nPin: release n=trixie\nPin-Priority: 100\n'
  fi
  as_root tee /etc/apt/preferences.d/opcuaclient-engine >/dev/null <<PINS
$trixie_pin
Package: *
Pin: release n=sid
Pin-Priority: 90
PINS
}

# The newest 1.4.x that the archive carries: the unstable suite has security fixes that the stable one lacks.
engine_version() {
  apt-cache madison libopen62541-1.4-dev 2>/dev/null | awk -F'|' '{ gsub(/ /, "", $2); print $2 }' |
    grep -E '^(1:)?1\.4\.' | sort -V | tail -n 1
}

echo "install-deps: installing ${missing[*]} $($engine_missing && echo "${engine_packages[*]}")"
$engine_missing && add_engine_suites
apt_get update
[ ${#missing[@]} -eq 0 ] || apt_get install -y --no-install-recommends "${missing[@]}"
if $engine_missing; then
  version=$(engine_version)
  if [ -z "$version" ]; then
    echo "install-deps: the archive has no open62541 1.4.x" >&2
    exit 1
  fi
  apt_get install -y --no-install-recommends "libopen62541-1.4=$version" \
    "libopen62541-1.4-dev=$version" "libopen62541-1.4-tools=$version"
fi
