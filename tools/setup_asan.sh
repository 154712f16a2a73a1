#!/usr/bin/env bash
# Usage: tools/setup_asan.sh
# Installs what the presets asan and tsan need beside tools/setup.sh: Clang, its runtime of sanitizers and
# fuzzers, its linker, and the program that names functions in reports.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/setup.sh clang-16 libclang-rt-16-dev lld-16 llvm-16
