#!/usr/bin/env bash
# Installs what this project needs, from Debian's archive alone. Silent when everything is there.
#
#   scripts/install-deps.sh          everything: build, tests, linters, benchmarks
#   scripts/install-deps.sh build    enough to build the libraries, the tools and the demo
#
# Needs root or sudo, and only when something is missing.
set -euo pipefail

group=${1:-all}

build_packages=(
  cmake g++ make ninja-build pkg-config
  libssl-dev libsimpleini-dev libspdlog-dev libcli11-dev nlohmann-json3-dev
)
test_packages=(
  libgtest-dev libgmock-dev libbenchmark-dev
  openssl python3 iproute2 procps
)
# The linters are pinned to one version because their verdicts change with it; Debian 13 has another.
lint_packages=(clang-14 clang-format-19 clang-tidy-14 libclang-rt-14-dev)
# The CMake package of the engine is incomplete without its tools package.
engine_packages=(libopen62541-1.4 libopen62541-1.4-dev libopen62541-1.4-tools)
engine_sources=/etc/apt/sources.list.d/opcuaclient-engine.sources
engine_pins=/etc/apt/preferences.d/opcuaclient-engine

die() {
  echo "install-deps: $*" >&2
  exit 1
}

[ -r /etc/os-release ] || die "no /etc/os-release here; this script knows Debian 12 and later"
. /etc/os-release
debian=${VERSION_ID:-99} # testing and unstable carry no number
debian=${debian%%.*}

wanted=("${build_packages[@]}")
case $group in
build) ;;
all)
  wanted+=("${test_packages[@]}")
  # Whatever Node.js is there will do: only its absence is for Debian's packages.
  { command -v node && command -v npm; } >/dev/null || wanted+=(nodejs npm)
  [ "$debian" -ne 12 ] || wanted+=("${lint_packages[@]}")
  ;;
*) die "unknown group '$group'; say 'build', or nothing for everything" ;;
esac

installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=()
for package in "${wanted[@]}"; do
  installed "$package" || missing+=("$package")
done
engine_missing=()
for package in "${engine_packages[@]}"; do
  installed "$package" || engine_missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ] && [ ${#engine_missing[@]} -eq 0 ]; then
  exit 0
fi

if [ "${ID:-}" != debian ] || [ "$debian" -lt 12 ]; then
  die "this script knows Debian 12 and later; on ${PRETTY_NAME:-this system} install these yourself:" \
    "${missing[*]} ${engine_missing[*]}"
fi
if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
  die "root or sudo is needed to install: ${missing[*]} ${engine_missing[*]}"
fi

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}
run_apt_get() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 \
    -o Acquire::Retries=3 -o Acquire::Languages=none "$@" </dev/null
}
# Says nothing unless it fails: what matters is named before it runs.
apt_get() {
  local said
  if ! said=$(run_apt_get "$@" 2>&1); then
    echo "$said" >&2
    die "apt-get $1 failed"
  fi
}

# Archive and release of every index that apt knows. Empty until the first `apt-get update`.
debian_indexes() {
  apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT) $(ORIGIN) $(LABEL)' 'Created-By: Packages' |
    awk '$3 == "main" && $4 == "Debian" && $5 == "Debian" { print $1, $2 }'
}

# $1 the archive, then the suites. They are pinned so low that nothing else is ever taken from them.
write_engine_suites() {
  local archive=$1 suite
  shift
  as_root tee "$engine_sources" >/dev/null <<SOURCES
Types: deb
URIs: $archive
Suites: $*
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SOURCES
  for suite in "$@"; do
    printf 'Package: *\nPin: release o=Debian,n=%s\nPin-Priority: %s\n\n' "$suite" \
      "$([ "$suite" = sid ] && echo 90 || echo 100)"
  done | as_root tee "$engine_pins" >/dev/null
}
remove_engine_suites() {
  as_root rm -f "$engine_sources" "$engine_pins"
}

# Debian 12 carries no open62541: its package comes from the two later suites. One that this machine already uses
# stays as it is. The unstable suite is welcome but not needed: a mirror may lack it or carry an outdated index.
add_engine_suites() {
  local archive suite suites=()
  archive=$(debian_indexes | awk '$2 !~ /-(updates|backports)/ && !found++ { print $1 }')
  [ -n "$archive" ] || die "no Debian archive in this machine's apt configuration"
  for suite in trixie sid; do
    debian_indexes | grep " $suite\$" >/dev/null || suites+=("$suite")
  done
  [ ${#suites[@]} -gt 0 ] || return 0
  write_engine_suites "$archive" "${suites[@]}"
  if ! run_apt_get update >/dev/null 2>&1; then
    echo "install-deps: Debian's unstable suite cannot be used here; taking open62541 from the stable one"
    remove_engine_suites
    [ "${suites[0]}" = sid ] || write_engine_suites "$archive" "${suites[0]}"
    apt_get update
  fi
}

# The newest 1.4.x that the archive carries: the unstable suite has security fixes that the stable one lacks.
newest_engine() {
  apt-cache madison libopen62541-1.4-dev | awk -F'|' '{ gsub(/ /, "", $2); print $2 }' |
    { grep -E '^([0-9]+:)?1\.4\.' || true; } | sort -V | tail -n 1
}

echo "install-deps: installing ${missing[*]} ${engine_missing[*]}"
if [ ${#engine_missing[@]} -gt 0 ]; then
  remove_engine_suites
fi
apt_get update
if [ ${#missing[@]} -gt 0 ]; then
  apt_get install --no-install-recommends "${missing[@]}"
fi
if [ ${#engine_missing[@]} -gt 0 ]; then
  add_engine_suites
  version=$(newest_engine)
  [ -n "$version" ] || die "the archive has no open62541 1.4.x"
  apt_get install --no-install-recommends "${engine_packages[@]/%/=$version}"
fi
