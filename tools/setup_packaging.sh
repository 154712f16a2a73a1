#!/usr/bin/env bash
# Usage: tools/setup_packaging.sh [--list-windows]
# Installs what building for Windows and macOS and making packages need on Debian 12, beside what
# tools/setup.sh installs. The compiler for macOS is that of tools/setup_clang.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

windows=(g++-mingw-w64-x86-64-posix wine wine64 googletest wixl msitools faketime)
# The packages that tools/check_windows.sh needs.
if [ "${1:-}" = --list-windows ]; then
  echo "${windows[@]}"
  exit 0
fi

tools/setup.sh "${windows[@]}" \
  lld-16 llvm-14 zip unzip dpkg-dev debhelper lintian appstream mmdebstrap python3-venv
tools/setup_clang.sh
