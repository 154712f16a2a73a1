#!/usr/bin/env bash
# Usage: tools/check_single_files.sh
# Compiles every file by itself and without precompiled headers, in build/single. The presets compile several
# files as one, which hides that a file leans on the includes of another.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset dev -B build/single -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O0 -DNDEBUG" \
  -DLOMIX_UNITY=OFF -DLOMIX_PRECOMPILE=OFF >/dev/null
cmake --build build/single
