#!/usr/bin/env bash
# From a fresh clone to two pictures: installs what is missing, builds the viewer, and draws a photograph and a model.
# demo.sh [PHOTOGRAPH [MODEL]]
set -euo pipefail
source "$(dirname "$0")/common.sh"
started=$(date +%s)
"$root/scripts/setup.sh" build
build_preset release -DGLEAM_BUILD_TESTS=OFF -DGLEAM_BUILD_BENCH=OFF -- gleamview

mkdir -p "$root/out"
photograph=${1:-/usr/share/glmark2/textures/nasa1.png}
model=${2:-/usr/share/glmark2/models/bunny.obj}
"$root/build/release/bin/gleamview" "$photograph" --out "$root/out/demo.png"
"$root/build/release/bin/gleamview" "$model" --out "$root/out/demo-model.png"
echo "demo: drew $photograph and $model in all $(($(date +%s) - started)) s; the pictures are"
echo "$root/out/demo.png"
echo "$root/out/demo-model.png"
