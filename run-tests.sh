#!/usr/bin/env bash
# Everything that has to hold before a change lands. Exits 0 only when all of it held.
#
#   ./run-tests.sh              all stages, in this order:
#                                 format  source files are formatted
#                                 layers  nobody includes what is not theirs
#                                 lint    clang: warnings are errors, clang-tidy
#                                 asan    all suites under the address and undefined-behaviour sanitizers
#                                 tsan    the suites with threads under the thread sanitizer
#                                 dev     all suites plain
#   ./run-tests.sh dev layers   some of them
#
# Nothing is skipped: a missing tool, a skipped or disabled test and a test that is no longer there are failures.
set -euo pipefail
cd "$(dirname "$0")"

stages=("$@")
[ ${#stages[@]} -gt 0 ] || stages=(format layers lint asan tsan dev)
jobs=$(nproc)

. scripts/use-ccache.sh

build() {
  cmake --preset "$1"
  cmake --build --preset "$1" -j "$jobs"
}

# The tests that are there are compared with the list before they run, and what came of each of them afterwards.
run_suites() {
  build "$1"
  python3 scripts/check-tests.py listed "$1"
  ctest --preset "$1" -j 4 --output-junit "results.xml"
  python3 scripts/check-tests.py results "$1"
}

stage_format() { scripts/check-format.sh; }
stage_layers() {
  cmake --preset dev >/dev/null
  cmake --build --preset dev -j "$jobs" --target opcuaclient
  scripts/check-layers.sh build/dev
}
stage_lint() {
  cmake --preset lint >/dev/null
  python3 scripts/lint.py build/lint "$jobs"
}
stage_asan() { run_suites asan; }
stage_tsan() { run_suites tsan; }
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
