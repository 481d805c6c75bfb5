# Shared by the scripts: where the tree is, and how one configuration is configured and built. Sourced, not run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export CCACHE_SLOPPINESS=pch_defines,time_macros

# build_preset PRESET [CMAKE-ARGUMENTS... -- TARGETS...]: configure (quietly) and build build/PRESET.
build_preset() {
  local preset=$1; shift
  local args=() targets=()
  while [ $# -gt 0 ] && [ "$1" != -- ]; do args+=("$1"); shift; done
  [ $# -gt 0 ] && shift
  targets=("$@")
  (cd "$root" && cmake --preset "$preset" "${args[@]}" >"/tmp/gleam-configure.$$" 2>&1) ||
    { cat "/tmp/gleam-configure.$$" >&2; rm -f "/tmp/gleam-configure.$$"; return 1; }
  rm -f "/tmp/gleam-configure.$$"
  ninja -C "$root/build/$preset" --quiet "${targets[@]}"
}
