#!/usr/bin/env bash
# Runs a command in a bare Debian of its own, on a clean clone of what is committed here, as on a new machine.
#
#   scripts/in-debian.sh [--share FOLDER] 12|13 COMMAND...
#
# The folder, if one is given, is there as /root/shared: what goes in and what comes out. The network is this machine's.
# Ends as the command does, and fails, too, when a package that the bare system has is changed or gone. Nothing is left
# but a cache in ~/.cache/opcuaclient-in-debian: bare systems, packages, compilations. Needs root.
set -euo pipefail
repository=$(cd "$(dirname "$0")/.." && pwd)
. "$repository/scripts/debian-archive.sh"

die() {
  echo "in-debian: $*" >&2
  exit 1
}

shared=
if [ "${1:-}" = --share ]; then
  shared=$(realpath -e "${2:?in-debian: say which folder to share}")
  shift 2
fi
[ $# -ge 2 ] || die "say 12 or 13, and what to run there"
case $1 in
12) suite=bookworm ;;
13) suite=trixie ;;
*) die "no Debian $1 here; say 12 or 13" ;;
esac
release=$1
shift
[ "$(id -u)" -eq 0 ] || die "root is needed to make a system"

"$repository/scripts/install-deps.sh" chroot
archive=$(debian_archive)
[ -n "$archive" ] || die "no Debian archive in this machine's apt configuration"

cache=${XDG_CACHE_HOME:-$HOME/.cache}/opcuaclient-in-debian/$release
mkdir -p "$cache/archives" "$cache/home"
work=$(mktemp -d "$cache/run.XXXXXX")
system=$work/system
inside=
clean_up() {
  # All inside are children of this one process of their own world, and gone when it is.
  [ -z "$inside" ] || kill -KILL $(cat "/proc/$inside/task/$inside/children" 2>/dev/null) 2>/dev/null || true
  wait
  rm -rf --one-file-system "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# The bare system is made anew after each point release: what is installed on it would replace parts of an older one.
make_base() {
  local id
  /usr/lib/apt/apt-helper -o APT::Sandbox::User=root download-file "${archive%/}/dists/$suite/Release" "$work/Release" >/dev/null ||
    die "no $suite in $archive"
  id=$(sha256sum <"$work/Release")
  base=$cache/base-${id%% *}.tar
  [ ! -e "$base" ] || return 0
  echo "in-debian: making a bare Debian $release"
  debootstrap --variant=minbase --include=ca-certificates,ccache "$suite" "$system" "$archive" >"$work/debootstrap.log" ||
    { tail "$work/debootstrap.log" >&2; die "debootstrap failed"; }
  rm -f "$cache"/base-*.tar "$cache"/archives/*.deb "$system"/var/cache/apt/archives/*.deb
  tar -C "$system" -cf "$work/base.tar" .
  mv "$work/base.tar" "$base"
  rm -rf "$system"
}

# What this machine needs to reach the archive and npm's registry, the new one needs as well.
carry_over_network() {
  local certificate
  cp -L /etc/resolv.conf "$system/etc/resolv.conf"
  printf '127.0.0.1 localhost\n127.0.1.1 debian%s\n' "$release" >"$system/etc/hosts"
  echo "debian$release" >"$system/etc/hostname"
  apt-config dump | grep -E '^Acquire::(https?|Check-[A-Za-z-]+)[ :]' >"$system/etc/apt/apt.conf.d/50network" || true
  for certificate in /usr/local/share/ca-certificates/*.crt; do
    [ ! -e "$certificate" ] || cp "$certificate" "$system/usr/local/share/ca-certificates/"
  done
  chroot "$system" update-ca-certificates >/dev/null 2>&1
}

# Runs as the first process of a world of its own: mounts and processes end with it.
live() {
  local system=$1 cache=$2 release=$3 shared=$4 device
  shift 4
  hostname "debian$release"
  mount -t proc proc "$system/proc"
  mount -t sysfs -o ro sysfs "$system/sys"
  mount -t tmpfs -o mode=755 tmpfs "$system/dev"
  for device in null zero full random urandom tty; do
    touch "$system/dev/$device"
    mount --bind "/dev/$device" "$system/dev/$device"
  done
  mkdir "$system/dev/pts" "$system/dev/shm"
  mount -t devpts -o newinstance,gid=5,mode=620,ptmxmode=666 devpts "$system/dev/pts"
  mount -t tmpfs -o mode=1777 tmpfs "$system/dev/shm"
  ln -s pts/ptmx "$system/dev/ptmx"
  ln -s /proc/self/fd "$system/dev/fd"
  for device in 0:stdin 1:stdout 2:stderr; do
    ln -s "/proc/self/fd/${device%:*}" "$system/dev/${device#*:}"
  done
  mkdir -p "$system/root/.cache"
  mount --bind "$cache/home" "$system/root/.cache"
  if [ -n "$shared" ]; then
    mkdir "$system/root/shared"
    mount --bind "$shared" "$system/root/shared"
  fi
  chroot "$system" sh -c 'cd /root/opcuaclient && exec "$@"' sh "$@"
}

# $1, $2 where they are and where they are to be, too.
share_archives() { find "$1" -maxdepth 1 -name '*.deb' -exec cp --link --no-clobber -t "$2" {} +; }

packages() { dpkg-query --admindir="$system/var/lib/dpkg" -W | sort; }

base=
make_base
mkdir "$system"
tar -C "$system" -xf "$base"
carry_over_network
git clone -q --no-hardlinks "$repository" "$system/root/opcuaclient"
share_archives "$cache/archives" "$system/var/cache/apt/archives"
packages >"$work/packages"

environment=(HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin npm_config_cache=/root/.cache/npm)
for name in TERM http_proxy https_proxy no_proxy HTTP_PROXY HTTPS_PROXY NO_PROXY; do
  [ -z "${!name:-}" ] || environment+=("$name=${!name}")
done
if command -v npm >/dev/null; then
  environment+=("npm_config_registry=$(npm config get registry 2>/dev/null)")
fi
echo "in-debian: $* in a bare Debian $(cat "$system/etc/debian_version")"
setpriv --pdeathsig KILL unshare --mount --pid --uts --ipc --fork --kill-child env -i "${environment[@]}" bash -euc "$(declare -f live); live \"\$@\"" \
  live "$system" "$cache" "$release" "$shared" "$@" <&0 &
inside=$!
code=0
wait "$inside" || code=$?
inside=

share_archives "$system/var/cache/apt/archives" "$cache/archives"
packages >"$work/packages-after"
changed=$(comm -23 "$work/packages" "$work/packages-after")
[ -z "$changed" ] || die "packages of the bare system were changed:"$'\n'"$changed"
echo "in-debian: Debian $release, exit code $code after $SECONDS s," \
  "$(comm -13 "$work/packages" "$work/packages-after" | wc -l) packages added, none changed"
exit $code
