#!/usr/bin/env bash
# Usage: tools/test.sh [--quick] [CTEST ARGUMENTS...]
# Installs what is missing, builds with warnings as errors and again with the address and
# undefined-behaviour sanitizers of Clang, and runs every test in both builds; then those tests of the row
# engine, the library, the plug-ins and the pipeline that use several threads with the thread sanitizer; then
# fuzzers for 20 seconds each; then the Windows build under Wine; then the edge values of floats and the
# golden frames as the compiler of the macOS bundles builds them for 64-bit ARM, and the instructions that a
# pixel takes there; then the browser page in Chromium. What needs something that cannot be installed is
# skipped, which is said.
# --quick: the first build and its tests alone, with a short comparison of the row engine in place of
# the long one, and without documents, installed folders and mutants.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=no
if [ "${1:-}" = --quick ]; then
  quick=yes
  shift
fi

tools/setup.sh
if [ "$quick" = yes ]; then
  tools/build.sh dev
  echo "Testing (dev, quick)..."
  ctest --preset dev -j "$(nproc)" -LE long -E RowsAreTheReferencesBytes "$@"
  build/dev/bin/lomix_differential --pixels 50M
  exit 0
fi

tools/setup.sh $(tools/setup_packaging.sh --list-windows) ||
  echo "note: what builds and runs for Windows cannot be installed here" >&2
sanitized=asan
if ! tools/setup_asan.sh; then
  echo "note: Clang cannot be installed here; the sanitizers are those of GCC" >&2
  sanitized=asan-gcc
fi
for preset in dev "$sanitized"; do
  tools/build.sh "$preset"
done
tools/build.sh tsan --target lomix_engine_tests library_test ofx_test frei0r_test pipeline_test
for preset in dev "$sanitized"; do
  echo "Testing ($preset)..."
  ctest --preset "$preset" -j "$(nproc)" --output-on-failure "$@"
done
echo "Testing (tsan)..."
threads='lomix_engine_tests: ?Threads|library_test: ?(Context|Seeds/Frames.*/1$)'
threads+='|ofx_test: ?.*(AtOnce|Threads|Abort)|frei0r_test: ?.*AtOnce|pipeline_test'
ctest --preset tsan -j "$(nproc)" -R "$threads"
tools/fuzz.sh presets,options,module,library 20 -seed=1
tools/check_windows.sh
tools/check_clang.sh --quick
tools/count_instructions.sh --quick
tools/check_web.sh
