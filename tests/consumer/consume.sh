#!/usr/bin/env bash
# Installs the built library into a folder of its own and uses it from there, as an integrator does.
#   consume.sh WAY CMAKE BUILD_FOLDER COMPILER PROJECT_FOLDER
set -euo pipefail
way=$1 cmake=$2 build=$3 compiler=$4 project=$5

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/installed
unset LD_LIBRARY_PATH PKG_CONFIG_PATH CMAKE_PREFIX_PATH CPATH LIBRARY_PATH

"$cmake" --install "$build" --prefix "$prefix" >/dev/null
cp -r "$project" "$work/project"
libraries=$(dirname "$(find "$prefix" -name libopcuaclient.so)")

with_find_package() {
  "$cmake" -S "$work/project" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
  "$cmake" --build "$work/build" >/dev/null
  ran_against_installed "$work/build/consumer"
}

with_pkg_config() {
  local flags
  flags=$(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs opcuaclient)
  # shellcheck disable=SC2086
  "$compiler" -std=c++11 "$work/project/consumer.cpp" $flags -Wl,-rpath,"$libraries" -o "$work/consumer"
  ran_against_installed "$work/consumer"
}

# Every library of ours must come from the installation, and the program must run.
ran_against_installed() {
  local library
  while read -r library; do
    [ "$(dirname "$(realpath "$library")")" = "$(realpath "$libraries")" ] ||
      { echo "$1 takes $library, not one from $libraries" >&2; exit 1; }
  done < <(ldd "$1" | sed -nE 's/^[[:space:]]*lib(opcuaclient|ua(stack|basecpp|pkicpp|clientcpp))\.so[^ ]* => ([^ ]+).*/\3/p')
  "$@"
}

case $way in
find_package) with_find_package ;;
pkg_config) with_pkg_config ;;
moved_prefix)
  mv "$prefix" "$work/moved"
  libraries=$work/moved${libraries#"$prefix"}
  prefix=$work/moved
  with_find_package
  with_pkg_config
  ;;
command_line_client)
  ran_against_installed "$prefix/bin/opcua-cli" --help
  ;;
*) echo "unknown way '$way'" >&2; exit 2 ;;
esac
