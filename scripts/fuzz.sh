#!/usr/bin/env bash
# Builds the fuzz targets and runs each over its committed seeds.
#   fuzz.sh [SECONDS [TARGET...]]   20 seconds each and all targets by default
set -euo pipefail
source "$(dirname "$0")/common.sh"
seconds=${1:-20}
shift || true
build_preset fuzz -- fuzzers
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(cd "$root/build/fuzz/bin" && ls fuzz_*)
export GLEAM_LOG=off GLEAM_CACHE=off
export ASAN_OPTIONS=detect_leaks=1 LSAN_OPTIONS=suppressions=$root/scripts/sanitizers/lsan.supp:print_suppressions=0
for target in "${targets[@]}"; do
  found="$root/build/fuzz/corpus/$target"
  mkdir -p "$found"
  if ! "$root/build/fuzz/bin/$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
      -artifact_prefix="$found-" "$found" "$root/fuzz/seeds/${target#fuzz_}" >"$found.log" 2>&1; then
    tail -n 40 "$found.log" >&2
    echo "fuzz: $target FAILED; its input stands beside $found" >&2
    exit 1
  fi
  echo "fuzz: $target clean, $(grep -o 'number_of_executed_units: [0-9]*' "$found.log" | grep -o '[0-9]*') inputs"
done
