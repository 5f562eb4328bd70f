#!/usr/bin/env bash
# Makes the pictures in docs/pictures anew: drawings from the texts beside them, the others from real runs.
set -euo pipefail
cd "$(dirname "$0")/.."

for group in all window pictures; do
  scripts/install-deps.sh "$group"
done
. scripts/use-ccache.sh
cmake --preset window >/dev/null
cmake --build --preset window --target window_suites opcua-cli plant_server >/dev/null

for drawing in docs/pictures/*.dot; do
  dot -Tsvg "$drawing" -o "${drawing%.dot}.svg"
done
scripts/pictures/monitor_film.py build/window/bin/plant_server build/window/bin/opcua-cli docs/pictures/monitor.svg

# The panel's tests take these while they operate it.
ctest --preset window -R '/Window\.'
for picture in docs/pictures/window-panel*.png; do
  cp "build/window/pictures/${picture##*/}" "$picture"
done
