#!/usr/bin/env bash
# Compiles a program as C++11 without a warning, and runs it.   build_and_run.sh COMPILER INCLUDE_FOLDER SOURCE
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" -std=c++11 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -I "$2" "$3" -o "$work/program"
"$work/program"
