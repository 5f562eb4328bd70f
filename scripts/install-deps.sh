#!/usr/bin/env bash
# Installs what this project needs, from the system's own archive and, on Debian 12, open62541 from Debian 13.
# Only adds: it rather fails than change a package that is there. Silent when everything is there.
#
#   scripts/install-deps.sh            everything: build, tests, linters, benchmarks
#   scripts/install-deps.sh build      enough to build the libraries, the tools and the demo
#   scripts/install-deps.sh runtime    enough to run them: what a target needs
#   scripts/install-deps.sh package    enough to make packages: what scripts/package.sh needs
#   scripts/install-deps.sh site       what scripts/site.sh needs
#   scripts/install-deps.sh window     enough to build the window panel and to run it, also where there is no screen
#   scripts/install-deps.sh pictures   what scripts/pictures.sh needs besides these
#   scripts/install-deps.sh chroot     what scripts/in-debian.sh needs
#
# Needs root or sudo, and only when something is missing.
set -euo pipefail
. "$(dirname "$0")/debian-archive.sh"

group=${1:-all}

build_packages=(
  cmake g++ make ninja-build pkg-config
  libssl-dev libsimpleini-dev libspdlog-dev libcli11-dev nlohmann-json3-dev libsqlite3-dev libedit-dev
)
test_packages=(
  libgtest-dev libgmock-dev libbenchmark-dev
  openssl python3 iproute2 procps
  abigail-tools mandoc
)
package_packages=(build-essential debhelper lintian)
site_packages=(doxygen python3)
# Qt, a virtual screen, and a font that every machine's pictures have in common.
window_packages=(qt6-base-dev xvfb fonts-roboto-unhinted)
# Pinned to the one version that Debian 12 and 13 both have, because verdicts change with it.
lint_packages=(clang-19 clang-format-19 clang-tidy-19 libclang-rt-19-dev)
engine_suite=trixie
engine_sources=/etc/apt/sources.list.d/opcuaclient-engine.sources
engine_pins=/etc/apt/preferences.d/opcuaclient-engine

die() {
  echo "install-deps: $*" >&2
  exit 1
}

[ -r /etc/os-release ] || die "no /etc/os-release here; this script knows systems with apt"
. /etc/os-release
debian=0 # another system, or a Debian without a number: testing, unstable
if [ "${ID:-}" = debian ]; then
  debian=${VERSION_ID:-0}
  debian=${debian%%.*}
fi

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}
run_apt_get() {
  # A package brings none of its source's other packages up to date with it.
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 \
    -o Acquire::Retries=3 -o Acquire::Languages=none -o APT::Get::Upgrade-By-Source-Package=false "$@" </dev/null
}
# Says nothing unless it fails: what matters is named before it runs.
apt_get() {
  local said
  if ! said=$(run_apt_get "$@" 2>&1); then
    echo "$said" >&2
    die "apt-get $1 failed"
  fi
}

installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}
available() {
  [ -n "$(apt-cache madison "$1" 2>/dev/null)" ]
}
# Of the packages given, those for which the function in the first place says no.
without() {
  local property=$1 package
  shift
  for package in "$@"; do
    "$property" "$package" || echo "$package"
  done
}
# The names of the shared libraries carry versions; the development packages know which.
runtime_packages() {
  apt-cache depends libssl-dev libspdlog-dev libfmt-dev libsqlite3-dev libedit-dev 2>/dev/null |
    awk '$1 == "Depends:" && $2 ~ /^lib/ && $2 !~ /-dev$/ { print $2 }' | sort -u
}

wanted=() optional=() engine_wanted=()
choose_packages() {
  case $group in
  all)
    wanted=("${build_packages[@]}" "${test_packages[@]}")
    # Whatever Node.js is there will do: only its absence is for the system's packages.
    { command -v node && command -v npm; } >/dev/null || wanted+=(nodejs npm ca-certificates)
    case $debian in
    12 | 13) wanted+=("${lint_packages[@]}") ;;
    *) wanted+=(clang) optional=("${lint_packages[@]}") ;;
    esac
    ;;
  build) wanted=("${build_packages[@]}") ;;
  package) wanted=("${build_packages[@]}" "${package_packages[@]}") ;;
  runtime) mapfile -t wanted < <(runtime_packages) ;;
  site) wanted=("${site_packages[@]}") ;;
  window) wanted=("${build_packages[@]}" "${window_packages[@]}") ;;
  pictures) wanted=(graphviz python3) ;;
  chroot) wanted=(debootstrap) ;;
  *) die "unknown group '$group'; say 'build', 'runtime', 'package', 'site', 'window', 'pictures', 'chroot', or nothing for everything" ;;
  esac
  case $group in
  # The CMake package of the engine is incomplete without its tools package.
  all | build | package | window) engine_wanted=(libopen62541-1.4 libopen62541-1.4-dev libopen62541-1.4-tools) ;;
  runtime) engine_wanted=(libopen62541-1.4) ;;
  esac
  mapfile -t missing < <(without installed "${wanted[@]}")
  mapfile -t engine_missing < <(without installed "${engine_wanted[@]}")
  for package in $(without installed "${optional[@]}"); do
    ! available "$package" || missing+=("$package")
  done
}
choose_packages
# Without apt's lists nobody knows what a target needs.
[ "$group" != runtime ] || [ ${#wanted[@]} -gt 0 ] || missing=("the libraries of OpenSSL, spdlog and fmt")
names=("${missing[@]}" "${engine_missing[@]}")
[ ${#names[@]} -gt 0 ] || exit 0

command -v apt-get >/dev/null || die "no apt on ${PRETTY_NAME:-this system}; install these yourself: ${names[*]}"
if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
  die "root or sudo is needed to install: ${names[*]}"
fi

remove_engine_suite() {
  as_root rm -f "$engine_sources" "$engine_pins"
}

# Debian 12 carries no open62541: its package comes from the next release, which is pinned so low that nothing else is
# ever taken from it. One that this machine already uses stays as it is.
add_engine_suite() {
  local archive
  archive=$(debian_archive)
  [ -n "$archive" ] || die "no Debian archive in this machine's apt configuration"
  ! debian_indexes | grep " $engine_suite\$" >/dev/null || return 0
  as_root tee "$engine_sources" >/dev/null <<SOURCES
Types: deb
URIs: $archive
Suites: $engine_suite
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SOURCES
  as_root tee "$engine_pins" >/dev/null <<PINS
Package: *
Pin: release o=Debian,n=$engine_suite
Pin-Priority: 100
PINS
  apt_get update
}

# Whether what apt would install is new enough.
engine_available() {
  local version
  version=$(LC_ALL=C apt-cache policy libopen62541-1.4 | awk '$1 == "Candidate:" && $2 != "(none)" { print $2 }')
  [ -n "$version" ] && dpkg --compare-versions "$version" ge 1.4.11
}

# What apt would upgrade or remove for the packages given.
would_change() {
  local plan
  plan=$(run_apt_get install --simulate --no-install-recommends "$@" 2>&1) || { echo "$plan"; return; }
  awk '$1 == "Remv" || ($1 == "Inst" && $3 ~ /^\[/) { print $2 }' <<<"$plan"
}

[ ${#engine_missing[@]} -eq 0 ] || remove_engine_suite
apt_get update
choose_packages
names=("${missing[@]}" "${engine_missing[@]}")
echo "install-deps: installing ${names[*]}"
mapfile -t absent < <(without available "${missing[@]}")
if [ ${#engine_missing[@]} -gt 0 ]; then
  [ "$debian" -ne 12 ] || add_engine_suite
  engine_available || absent+=("open62541 1.4.11 or a later 1.4.x")
fi
[ ${#absent[@]} -eq 0 ] || die "the archive of ${PRETTY_NAME:-this system} lacks: ${absent[*]}"

changes=$(would_change "${names[@]}")
[ -z "$changes" ] || die "nothing installed, since apt would change what is on this system, or can't install:"$'\n'"$changes"
apt_get install --no-install-recommends "${names[@]}"
