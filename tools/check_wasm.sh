#!/usr/bin/env bash
# Usage: tools/check_wasm.sh [PIXELS]
# Builds the effect, the engine, looks and the library as WebAssembly and runs them in node: the unit
# tests, the golden frames through the library, mutants that the comparison has to find, and the comparison
# of every SIMD target with the reference path for PIXELS pixels (3M by default). Prints how much faster each
# target is than the effect's own functions.
# The build has no threads, so that tests of threads are left out. Skipped where emscripten cannot be
# installed.
set -euo pipefail
cd "$(dirname "$0")/.."

pixels=${1:-3M}
command -v node >/dev/null || tools/setup.sh nodejs || true
if ! tools/setup.sh emscripten node-acorn googletest || ! command -v em++ >/dev/null || ! command -v node >/dev/null; then
  echo "SKIPPED (wasm): emscripten cannot be installed"
  exit 0
fi
# A node that is not Debian's does not look for Debian's packages by itself.
export NODE_PATH=/usr/share/nodejs

build=build/wasm
tests=(lomix_edge_value_tests lomix_unit_tests lomix_engine_tests library_golden_test library_test)
mutants=(lanes_past_span_wasm grain_lane_swapped_wasm)
tools/build.sh wasm --target "${tests[@]}" "${mutants[@]/#/lomix_mutant_}" lomix_differential \
  lomix_target_ratios lomix_static

echo "Testing (wasm)..."
# Emscripten's loader takes a node that has fetch() for a browser.
run() { node --no-experimental-fetch "$@"; }
for test in "${tests[@]}"; do
  # The comparison by pixels below takes the place of the one by time.
  run "$build/tests/$test.js" --gtest_brief=1 \
    --gtest_filter='-Differential.RowsAreTheReferencesBytes:Threads.*:Context.*'
done
for mutant in "${mutants[@]}"; do
  run "$build/tests/lomix_mutant_$mutant.js" --expect-difference --target wasm --pixels 20M
done
run "$build/bin/lomix_differential.js" --seed 32 --pixels "$pixels"
run "$build/tests/lomix_target_ratios.js"
