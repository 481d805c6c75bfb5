#!/usr/bin/env bash
# From a fresh clone to a picture: installs what is missing, builds the viewer, and draws a photograph with it.
set -euo pipefail
source "$(dirname "$0")/common.sh"
started=$(date +%s)
"$root/scripts/setup.sh" build
build_preset release -DGLEAM_BUILD_TESTS=OFF -DGLEAM_BUILD_BENCH=OFF -- gleamview

mkdir -p "$root/out"
photograph=${1:-/usr/share/glmark2/textures/nasa1.png}
picture="$root/out/demo.png"
"$root/build/release/bin/gleamview" "$photograph" --out "$picture"
echo "demo: drew $photograph in all $(($(date +%s) - started)) s; the picture is $picture"
