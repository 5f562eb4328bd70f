#!/usr/bin/env bash
# Builds the optimised library and compares it with raw open62541 in one run: one row an operation, with the bound that
# it has to keep. Exits 0 when all bounds are kept.
#
#   ./run-bench.sh                                everything, about five minutes
#   ./run-bench.sh --benchmark_filter=read        rows whose name matches
#   ./run-bench.sh --benchmark_out=figures.json   all figures for other programs, too
#   ./run-bench.sh --long                         a million multi-reads as well: a minute more
#   ./run-bench.sh --soak MINUTES                 nothing of the above: reads, writes, browsing, items, reconnects and
#                                                 outages mixed for so long. Memory, descriptors and threads each minute;
#                                                 exits 0 when they stay flat and no outage has cost a connection
#
# A busy machine blurs the figures; the middle half of the ratios tells by how much. After the build,
# `chrt --fifo 1 build/release/bench/opcua-bench` (as root) keeps other programs off the measurement.
set -euo pipefail
cd "$(dirname "$0")"

. scripts/use-ccache.sh
program=opcua-bench path=bench/opcua-bench
if [ "${1:-}" = --soak ]; then
  shift
  program=opcua-soak path=bench/soak/opcua-soak
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
scripts/install-deps.sh
if ! { cmake --preset release && cmake --build --preset release -j "$(nproc)" --target "$program"; } >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi
"build/release/$path" "$@"
