#!/usr/bin/env bash
# Everything that has to hold before a change lands. Exits 0 only when all of it held.
#
#   ./run-tests.sh              all stages, in this order:
#                                 format  source files are formatted
#                                 layers  nobody includes what is not theirs
#                                 headers each header compiles alone
#                                 names   no two of one name: each library compiles as one file
#                                 asan    all suites under the address and undefined-behaviour sanitizers
#                                 tsan    the suites with threads under the thread sanitizer
#                                 dev     all suites plain
#   ./run-tests.sh dev layers   some of them
#   ./run-tests.sh lint         clang: warnings are errors, clang-tidy
#   ./run-tests.sh window       the window panel and its tests, on a screen that nobody sees
#   ./run-tests.sh fuzz         clang: libFuzzer tries inputs on what reads texts and bytes, always the same ones
#   ./run-tests.sh package      Debian packages and the site, made in a bare Debian 12 and 13 of what is committed; the
#                               packages used in another one; needs root
#
# Nothing is skipped: a missing tool, a skipped or disabled test and a test that is no longer there are failures. Only
# where the archive lacks the pinned version of clang's tools, their stages say so and leave it to a machine that has it.
set -euo pipefail
cd "$(dirname "$0")"

stages=("$@")
[ ${#stages[@]} -gt 0 ] || stages=(format layers headers names asan tsan dev)
jobs=$(nproc)

. scripts/use-ccache.sh

# run_suites PRESET [TARGET]: builds, compares the tests that are there with the list, runs them, and looks at what came
# of each of them.
run_suites() {
  cmake --preset "$1"
  cmake --build --preset "$1" -j "$jobs" --target "${2:-all}"
  scripts/check-tests.py listed "$1"
  ctest --preset "$1" -j 4 --output-junit results.xml
  scripts/check-tests.py results "$1"
}

stage_format() { scripts/check-format.sh; }
stage_layers() {
  cmake --preset dev >/dev/null
  cmake --build --preset dev -j "$jobs" --target opcuaclient
  scripts/check-layers.sh build/dev
}
stage_headers() {
  cmake --preset dev >/dev/null
  scripts/check-headers.py build/dev "$jobs"
}
stage_names() {
  cmake --preset names >/dev/null
  cmake --build --preset names -j "$jobs" --target plant_server opcua-cli
}
stage_lint() {
  if ! command -v clang-tidy-19 >/dev/null; then
    echo "lint: no clang-tidy-19 here, and another version judges otherwise: this machine can't, Debian 12 and 13 can"
    return
  fi
  scripts/install-deps.sh window
  cmake --preset lint >/dev/null
  scripts/lint.py build/lint "$jobs"
}
stage_window() {
  scripts/install-deps.sh window
  run_suites window window_suites
  scripts/check-headers.py build/window "$jobs" examples/window_panel tests/window
}
stage_fuzz() { run_suites fuzz fuzz_targets; }
stage_package() {
  local release
  cmake --preset dev >/dev/null
  cmake --build --preset dev -j "$jobs" --target plant_server
  for release in 12 13; do
    tests/packages/run.sh "$release"
  done
}
stage_asan() { run_suites asan; }
stage_tsan() { run_suites tsan threads_suites; }
stage_dev() { run_suites dev; }

for stage in "${stages[@]}"; do
  declare -F "stage_$stage" >/dev/null || { echo "run-tests: no stage '$stage'" >&2; exit 2; }
done

stage=dependencies
trap '[ $? -eq 0 ] || echo "run-tests: stage $stage failed" >&2' EXIT
scripts/install-deps.sh
tests/interop/install.sh
for stage in "${stages[@]}"; do
  printf '\n==== %s (%d s so far) ====\n' "$stage" "$SECONDS"
  "stage_$stage"
done
