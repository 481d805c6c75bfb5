#!/usr/bin/env bash
# Makes the API reference from the headers: build/docs/html/index.html. A warning fails it.
set -euo pipefail
source "$(dirname "$0")/common.sh"
command -v doxygen >/dev/null || "$root/scripts/setup.sh" ci
mkdir -p "$root/build/docs"
cd "$root"
warnings=$root/build/docs/warnings.txt
if ! (cat docs/Doxyfile; echo "WARN_LOGFILE = $warnings") | doxygen - >/dev/null || [ -s "$warnings" ]; then
  cat "$warnings" >&2
  echo "docs: FAILED with $(grep -c . "$warnings") lines of warnings" >&2
  exit 1
fi
echo "docs: build/docs/html/index.html, no warning"
