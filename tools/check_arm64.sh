#!/usr/bin/env bash
# Usage: tools/check_arm64.sh [PIXELS]
# Builds the tests of the effect and of the engine for 64-bit ARM with warnings as errors and runs them in
# an emulator: the comparison of the NEON and the portable target with the reference path for PIXELS
# pixels each (3M by default), and mutants that it has to find. Installs the cross-compiler and the
# emulator where they are missing.
set -euo pipefail
cd "$(dirname "$0")/.."

pixels=${1:-3M}
tools/setup.sh g++-aarch64-linux-gnu qemu-user-static googletest
toolchain=$PWD/cmake/aarch64-linux-gnu.cmake
build=$PWD/build/arm64
mkdir -p "$build"
log=$build/build.log
quietly() { "$@" >>"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }

echo "Building (arm64)..." >&2
: >"$log"
if [ ! -d "$build/prefix/lib/cmake/GTest" ]; then
  quietly cmake -G Ninja -S /usr/src/googletest -B "$build/googletest" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$build/prefix" -DCMAKE_INSTALL_LIBDIR=lib
  quietly cmake --build "$build/googletest" --target install
fi
quietly cmake -G Ninja -S . -B "$build/lomix" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLOMIX_WERROR=ON -DLOMIX_BUILD_LIBRARY=OFF \
  -DLOMIX_BUILD_MODULE=OFF -DLOMIX_BUILD_COMMAND=OFF \
  -DGTest_DIR="$build/prefix/lib/cmake/GTest"
# Those of the margins take tens of millions of pixels: too many for an emulator.
mutants=(columns_rounded_down lanes_past_span_neon grain_lane_swapped_neon)
quietly cmake --build "$build/lomix" --target lomix_unit_tests lomix_edge_value_tests \
  lomix_engine_tests lomix_differential "${mutants[@]/#/lomix_mutant_}"

echo "Testing (arm64)..."
for test in lomix_unit_tests lomix_edge_value_tests lomix_engine_tests; do
  # The comparison by pixels below takes the place of the one by time.
  qemu-aarch64-static "$build/lomix/tests/$test" --gtest_brief=1 \
    --gtest_filter=-Differential.RowsAreTheReferencesBytes
done
for mutant in "${mutants[@]}"; do
  qemu-aarch64-static "$build/lomix/tests/lomix_mutant_$mutant" --expect-difference
done
for target in neon portable; do
  qemu-aarch64-static "$build/lomix/bin/lomix_differential" --seed 64 --target "$target" \
    --pixels "$pixels"
done
