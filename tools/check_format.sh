#!/usr/bin/env bash
# Fails where a source file is not formatted as .clang-format says, and names it.
set -euo pipefail
cd "$(dirname "$0")/.."
find src packaging tests bench -name '*.cpp' -o -name '*.h' | sort | xargs clang-format --dry-run -Werror
