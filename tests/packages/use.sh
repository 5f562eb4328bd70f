#!/usr/bin/env bash
# In a bare system: installs the packages, uses them as their users do, and removes them without a trace.
#   use.sh FOLDER SERVER_URL
set -euo pipefail
folder=$1 url=$2
repository=$PWD
packages=(libopcuaclient1 libopcuaclient-dev opcua-cli)
node='ns=2;s=Boiler.Drum.Level'
work=/tmp/packages
private=/usr/lib/x86_64-linux-gnu/opcuaclient

die() {
  echo "packages: $*" >&2
  exit 1
}
step() { echo "packages: $*"; }
quietly() {
  local said
  said=$("$@" 2>&1) || { printf '%s\n' "$said" >&2; die "failed: $*"; }
}
apt() { quietly apt-get -y -q -o Dpkg::Use-Pty=0 -o APT::Sandbox::User=root "$@"; }
as_visitor() { runuser -u visitor -- env HOME="$work/visitor" "$@"; }

# All names but those of what changes anyhow, and of what this script brings and makes.
listing() {
  find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /tmp -o -path /var/cache/apt -o -path /var/lib/apt \
    -o -path /var/log \) -prune -o -print | LC_ALL=C sort
}

try_library() {
  step "the first program, with pkg-config and without"
  cp -r /usr/share/doc/libopcuaclient-dev/examples "$work/examples"
  diff -r -x CMakeLists.txt "$repository/examples" "$work/examples" || die "not all examples are installed"
  chown -R visitor "$work"
  cd "$work/examples/first_program"
  as_visitor sh -ec 'g++ -Wall -Wextra -Werror main.cpp $(pkg-config --cflags --libs opcuaclient) -o first_program'
  [[ $(as_visitor ./first_program "$url") == "result 0, value "* ]] || die "the first program read nothing"
  as_visitor g++ main.cpp -lopcuaclient -o without_flags
  [[ $(as_visitor ./without_flags "$url") == "result 0, value "* ]] || die "built with -l alone it read nothing"
  [ "$(ldd first_program | grep -c "=> $private/lib")" -eq 4 ] || { ldd first_program >&2; die "the SDK libraries are not found"; }

  step "the examples, with CMake"
  local example
  for example in $(grep -L Qt "$work"/examples/*/CMakeLists.txt); do
    cd "$(dirname "$example")"
    as_visitor cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
    as_visitor cmake --build build >build.log || { cat build.log >&2; die "$example does not build"; }
  done
  cd "$work/examples/first_program"
  [[ $(as_visitor build/first_program "$url") == "result 0, value "* ]] || die "the first program read nothing"
}

try_program() {
  step "opcua-cli, as a user and as root"
  local home=$work/root page
  [[ $(opcua-cli --version) == *"$("$repository/scripts/version.sh")" ]] || die "opcua-cli has another version"
  as_visitor opcua-cli read "$url" "$node" | grep -q "^$node" || die "opcua-cli read nothing"
  mkdir "$home"
  HOME=$home opcua-cli info "$url" --policy Basic256Sha256 --user operator --password plant --trust always >/dev/null ||
    die "opcua-cli did not connect"
  [ -s "$home/.local/state/opcua-cli/pkiclient/own/certs/HMIClient.der" ] || die "root's certificate is not in the home directory"
  for page in man1/opcua-cli.1.gz man3/opcuaclient.3.gz; do
    [ -s "/usr/share/man/$page" ] || die "no $page"
  done

  step "what bash and zsh complete"
  # shellcheck disable=SC2016
  bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader opcua-cli || true
    COMP_WORDS=(opcua-cli snap) COMP_CWORD=1; _opcua_cli opcua-cli snap opcua-cli; [ "${COMPREPLY[*]}" = snapshot ]' ||
    die "bash completes nothing"
  timeout 60 zsh -f "$repository/tests/packages/complete.zsh" || die "zsh completes nothing"
}

step "what a user has before"
"$repository/scripts/install-deps.sh" runtime
apt install --no-install-recommends g++ cmake make pkg-config bash-completion zsh
useradd --no-create-home visitor
mkdir -p "$work/visitor"
listing >/tmp/before

step "installing"
archives=("$folder"/{libopcuaclient1,libopcuaclient-dev,opcua-cli}_*.deb)
[ "$(apt-get install --simulate --no-install-recommends "${archives[@]}" | grep -c ^Inst)" -eq 3 ] ||
  die "they need more than install-deps.sh runtime installs"
apt install --no-install-recommends "${archives[@]}"
quietly dpkg --verify "${packages[@]}"
listing >/tmp/with
try_library
try_program

step "removing"
apt remove "${packages[@]}"
listing >/tmp/after
diff /tmp/before /tmp/after || die "files are left (>) or gone (<)"
! dpkg-query -W "${packages[@]}" 2>/dev/null | grep . || die "packages are left"
step "$(comm -13 /tmp/before /tmp/with | wc -l) files and folders came, and all of them went"
