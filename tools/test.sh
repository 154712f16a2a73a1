#!/usr/bin/env bash
# Usage: tools/test.sh [--quick] [CTEST ARGUMENTS...]
# Installs what is missing, builds with warnings as errors and again with the address and
# undefined-behaviour sanitizers of Clang, and runs every test in both builds; then those tests of the row
# engine, the library, the plug-ins and the pipeline that use several threads with the thread sanitizer; then
# fuzzers for 20 seconds each; then the Windows build under Wine, and at the same time the edge values of
# floats and the golden frames as the compiler of the macOS bundles builds them for 64-bit ARM, the
# instructions that a pixel takes there, and the browser page in Chromium. What needs something that cannot be
# installed is skipped, which is said.
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
asan=asan tsan=tsan
if ! tools/setup_asan.sh; then
  echo "note: Clang cannot be installed here; the sanitizers are those of GCC" >&2
  asan=asan-gcc tsan=tsan-gcc
fi
for preset in dev "$asan"; do
  tools/build.sh "$preset"
done
tools/build.sh "$tsan" --target lomix_engine_tests library_test ofx_test frei0r_test pipeline_test
for preset in dev "$asan"; do
  echo "Testing ($preset)..."
  ctest --preset "$preset" -j "$(nproc)" --output-on-failure "$@"
done
echo "Testing (tsan)..."
threads='lomix_engine_tests: ?Threads|library_test: ?(Context|Seeds/Frames.*/1$)'
threads+='|ofx_test: ?.*(AtOnce|Threads|Abort)|frei0r_test: ?.*AtOnce|pipeline_test'
ctest --preset "$tsan" -j "$(nproc)" -R "$threads"
tools/fuzz.sh presets,options,module,library 20 -seed=1
# Wine, the emulator and the browser leave processors idle, so two lines of checks run at a time. What the
# second line says is printed when it has ended. It is a process group of its own, so that one signal ends it.
others=build/other_checks.log
set -m
{
  tools/check_clang.sh --quick && tools/count_instructions.sh --quick && tools/check_web.sh
} >"$others" 2>&1 &
set +m
trap 'kill -- -$! 2>/dev/null || true' EXIT
code=0
tools/check_windows.sh || code=1
wait $! || code=1
cat "$others"
exit "$code"
