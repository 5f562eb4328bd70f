#!/usr/bin/env bash
# Makes packages for the Debian that this runs on: libopcuaclient1, libopcuaclient-dev, opcua-cli. Needs no network.
#
#   scripts/package.sh [FOLDER]     where they go; build/packages if not said
#
# What it needs, scripts/install-deps.sh package installs.
set -euo pipefail
cd "$(dirname "$0")/.."
repository=$PWD
folder=$(realpath -m "${1:-build/packages}")
. scripts/use-ccache.sh
version=$(scripts/version.sh)
. /etc/os-release

die() {
  echo "package: $*" >&2
  exit 1
}
[ "${ID:-}" = debian ] && [ -n "${VERSION_ID:-}" ] || die "this is for a release of Debian, not for ${PRETTY_NAME:-this system}"
command -v dpkg-buildpackage dh >/dev/null || die "no debhelper here; scripts/install-deps.sh package installs it"

# Packages are named by the release they are made on, so that an upgrade of the system takes those for the new one.
write_debian_changelog() {
  local released upstream=$version
  released=$(sed -nE "s/^## \[${version//./\\.}\] - ([0-9-]{10})\$/\1/p" CHANGELOG.md)
  [ -n "$released" ] || upstream=$version~unreleased
  cat <<ENTRY
opcuaclient ($upstream-1~deb$VERSION_ID) $VERSION_CODENAME; urgency=medium

  * Version $upstream; what is new stands in changelog.gz.

 -- $(sed -n 's/^Maintainer: //p' packaging/debian/control)  $(LC_ALL=C date -u -R -d "${released:-now}")
ENTRY
}

work=$repository/build/package
source=$work/opcuaclient-$version
rm -rf "$work"
mkdir -p "$source" "$folder"
tar --exclude-vcs --exclude=./build --exclude=node_modules -cf - . | tar -C "$source" -xf -
cp -r packaging/debian "$source/debian"
write_debian_changelog >"$source/debian/changelog"

if command -v ccache >/dev/null; then # debhelper hides the home directory
  CCACHE_DIR=$(ccache --get-config cache_dir)
  export CCACHE_DIR CCACHE_BASEDIR=$source
fi
cd "$source"
DEB_BUILD_OPTIONS=${DEB_BUILD_OPTIONS-parallel=$(nproc)} dpkg-buildpackage --build=binary --no-sign
cd "$work"
mv ./*.deb ./*.changes ./*.buildinfo "$folder"
echo "package: $(find "$folder" -name '*.deb' ! -name '*-dbgsym_*' -printf '%f\n' | sort | tr '\n' ' ')in $folder"
