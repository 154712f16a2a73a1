#!/usr/bin/env bash
# Usage: tools/build.sh PRESET [CMAKE BUILD ARGUMENTS...]
# Configures a preset if that was not done before, or anew if the presets have changed since, and builds
# it. Prints the log only when it fails.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
shift
mkdir -p "build/$preset"
log=build/$preset/build.log
if [ ! -f "build/$preset/build.ninja" ] || [ CMakePresets.json -nt "build/$preset/CMakeCache.txt" ]; then
  # CMake keeps the values of the first time.
  rm -f "build/$preset/CMakeCache.txt"
  echo "Configuring ($preset)..." >&2
  cmake --preset "$preset" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
fi
echo "Building ($preset)..." >&2
cmake --build --preset "$preset" "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
