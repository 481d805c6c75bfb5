#!/usr/bin/env bash
# Formats every C++ source with .clang-format; --check only reports, and fails when something would change.
set -euo pipefail
source "$(dirname "$0")/common.sh"
cd "$root"
mapfile -t files < <(git ls-files -co --exclude-standard '*.h' '*.cpp' '*.inl')
if [ "${1:-}" = --check ]; then
  clang-format --dry-run --Werror "${files[@]}" && echo "format: ${#files[@]} files are in form"
else
  clang-format -i "${files[@]}"
fi
