#!/bin/sh
# Compiles the sources of Gleamwork/dx11, unchanged, against the mingw-w64 headers of the interfaces that platform/
# provides, and only looks at the syntax: names, constants and signatures that the back end uses must be the
# published ones. Nothing that is built or run depends on those headers.
#
# usage: scripts/check-headers.sh [SOURCE...]     (default: every source of Gleamwork/dx11)
# Exit status: 0 when all compile or when the compiler is not installed, 1 otherwise.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
compiler=x86_64-w64-mingw32-g++

if ! command -v "$compiler" >/dev/null 2>&1; then
    echo "check-headers: skipped, $compiler is not installed (Debian package g++-mingw-w64-x86-64)"
    exit 0
fi

[ $# -gt 0 ] || set -- "$root"/Gleamwork/dx11/*.cpp
if [ ! -f "$1" ]; then
    echo "check-headers: no source $1" >&2
    exit 1
fi

# Windows 10 interfaces; the import attribute of exported classes means nothing to a syntax check.
flags="-std=c++20 -fsyntax-only -w -D_WIN32_WINNT=0x0A00 -DWINVER=0x0A00 -DNTDDI_VERSION=0x0A000006 -DUNICODE -D_UNICODE"
includes="-I$root -I$root/foundation/include -I$root/texture/include"
jobs=$(nproc 2>/dev/null || echo 1)

printf '%s\n' "$@" | xargs -P "$jobs" -I SOURCE "$compiler" $flags $includes SOURCE
if [ $? -ne 0 ]; then
    echo "check-headers: FAILED, the errors are above" >&2
    exit 1
fi
echo "check-headers: $# sources agree with the mingw-w64 headers"
