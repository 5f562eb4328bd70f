#!/usr/bin/env bash
# run.sh PROGRAM SEEDS RUNS: lets libFuzzer try so many inputs, from the seeds on and with a fixed random seed. An input
# that fails stays in the working folder, as crash-... or leak-...
set -euo pipefail
found=$(mktemp -d)
trap 'rm -rf "$found"' EXIT
"$1" "$found" "$2" -runs="$3" -seed=1 -max_len=4096 -timeout=60 -print_final_stats=1
