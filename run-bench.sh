#!/usr/bin/env bash
# Builds the optimised library and compares it with raw open62541 in one run: one row an operation, with the bound that
# it has to keep. Exits 0 when all bounds are kept.
#
#   ./run-bench.sh                                everything, about four minutes
#   ./run-bench.sh --benchmark_filter=read        rows whose name matches
#   ./run-bench.sh --benchmark_out=figures.json   all figures for other programs, too
#   ./run-bench.sh --long                         a million multi-reads as well: a minute more
#
# A busy machine blurs the figures; the middle half of the ratios tells by how much. After the build,
# `chrt --fifo 1 build/release/bench/opcua-bench` (as root) keeps other programs off the measurement.
set -euo pipefail
cd "$(dirname "$0")"

. scripts/use-ccache.sh
log=$(mktemp)
trap 'rm -f "$log"' EXIT
scripts/install-deps.sh
if ! { cmake --preset release && cmake --build --preset release -j "$(nproc)" --target opcua-bench; } >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi
build/release/bench/opcua-bench "$@"
