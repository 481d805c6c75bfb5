#!/usr/bin/env bash
# Builds and runs the benchmarks; prints one line `ratio NAME VALUE` a row: our time over the limit's, medians of one run.
#   bench.sh [FILTER]   only programs whose name contains FILTER
set -euo pipefail
source "$(dirname "$0")/common.sh"
"$root/scripts/setup.sh" test
build_preset release -DGLEAM_BUILD_BENCH=ON
for program in "$root"/build/release/bin/bench_*; do
  case "$program" in *"${1:-}"*) "$program" | grep '^ratio ' ;; esac
done
