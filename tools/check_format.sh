#!/usr/bin/env bash
# Fails where a source file is not formatted as .clang-format says, and names it.
set -euo pipefail
cd "$(dirname "$0")/.."
find src packaging tests bench examples -name '*.cpp' -o -name '*.h' -o -name '*.c' | sort | xargs clang-format --dry-run -Werror
