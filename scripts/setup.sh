#!/usr/bin/env bash
# Installs what the build needs from Debian's packages. Costs a fraction of a second when all is there.
#   setup.sh [build|test|ci]   build: library and programs; test: also tests and benchmarks (default);
#                              ci: also formatting, sanitizer, fuzzing and header-check tools
set -euo pipefail

build=(g++ cmake ninja-build ccache pkg-config
  libvulkan-dev libvulkan1 mesa-vulkan-drivers
  glslang-dev glslang-tools spirv-tools spirv-headers
  libsdl2-dev libmimalloc-dev libtbb-dev libspdlog-dev libfmt-dev libpugixml-dev libutfcpp-dev
  libpng-dev libjpeg62-turbo-dev zlib1g-dev libstb-dev libxxhash-dev libassimp-dev libfreetype-dev
  fonts-dejavu-core glmark2-data)
test=(libgtest-dev libgmock-dev libbenchmark-dev vulkan-validationlayers xvfb xauth openbox xdotool imagemagick)
ci=(clang lld clang-format libclang-rt-14-dev g++-mingw-w64-x86-64 doxygen)

case "${1:-test}" in
  build) wanted=("${build[@]}") ;;
  test) wanted=("${build[@]}" "${test[@]}") ;;
  ci) wanted=("${build[@]}" "${test[@]}" "${ci[@]}") ;;
  *) echo "usage: setup.sh [build|test|ci]" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

install="apt-get install -y --no-install-recommends ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  run=()
elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
  run=(sudo)
else
  echo "These packages are missing. Have an administrator run:" >&2
  echo "  apt-get update && $install" >&2
  exit 1
fi
echo "setup: installing ${#missing[@]} packages: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${run[@]}" apt-get update && "${run[@]}" env DEBIAN_FRONTEND=noninteractive $install; } >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  echo "setup: the installation failed; the lines above are its last ones" >&2
  exit 1
fi
