#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs all tests. Its last line says how it ended.
#   test.sh [PRESET]   release (default), debug, asan, tsan or fuzz (asan by clang, with the fuzz targets)
set -euo pipefail
source "$(dirname "$0")/common.sh"
preset=${1:-release}
trap 'echo "test: FAILED ($preset)"' ERR
case $preset in fuzz) "$root/scripts/setup.sh" ci ;; *) "$root/scripts/setup.sh" test ;; esac
build_preset "$preset" -DGLEAM_BUILD_TESTS=ON

# A sanitizer finding must fail the program that caused it; what drivers and third parties leak is listed with reasons.
export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:suppressions=$root/scripts/sanitizers/asan.supp
export LSAN_OPTIONS=suppressions=$root/scripts/sanitizers/lsan.supp:print_suppressions=0
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=$root/scripts/sanitizers/tsan.supp
export UBSAN_OPTIONS=print_stacktrace=1
ctest --test-dir "$root/build/$preset" --output-on-failure -j "$(nproc)"
trap - ERR
echo "test: all tests passed ($preset)"
