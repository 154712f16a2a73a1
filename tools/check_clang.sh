#!/usr/bin/env bash
# Usage: tools/check_clang.sh [--quick] [PIXELS]
# Builds for Linux with the Clang that builds the macOS bundles and runs the tests of the effect, the
# engine and the library, the golden frames, and the comparison with the reference path for PIXELS
# pixels (3M by default): for x86-64, and for 64-bit ARM in an emulator. The bundles themselves cannot
# be run here.
# --quick: for 64-bit ARM the tests of edge values and the golden frames alone.
# Skipped where compiler or emulator cannot be installed.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=no
if [ "${1:-}" = --quick ]; then
  quick=yes
  shift
fi
pixels=${1:-3M}
if ! { tools/setup.sh g++-aarch64-linux-gnu qemu-user-static googletest && tools/setup_clang.sh; }; then
  echo "SKIPPED (clang): the compiler or the emulator cannot be installed"
  exit 0
fi

archs=(aarch64 x86_64)
# tools/count_instructions.sh counts what the last one executes.
targets=(lomix_edge_value_tests golden_frames Lomix_reference Lomix_rows lomix_draw_frames)
tests=(lomix_unit_tests lomix_engine_tests golden_test library_golden_test library_test)
if [ "$quick" = yes ]; then
  archs=(aarch64)
else
  targets+=("${tests[@]}" lomix_differential)
fi

blessed=$(grep -v '^#' tests/golden/frames.tsv)
for arch in "${archs[@]}"; do
  build=$PWD/build/clang/$arch
  log=$build/build.log
  mkdir -p "$build"
  echo "Building (clang, $arch)..." >&2
  cmake -G Ninja -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/linux-clang.cmake" \
    -DLOMIX_CLANG_ARCH="$arch" -DCMAKE_BUILD_TYPE=Release -DLOMIX_WERROR=ON \
    -DLOMIX_BUILD_COMMAND=OFF -DLOMIX_INSTALL=OFF >"$log" 2>&1 &&
    cmake --build "$build" -j "$(nproc)" --target "${targets[@]}" >>"$log" 2>&1 ||
    { cat "$log" >&2; exit 1; }

  echo "Testing (clang, $arch)..."
  run=()
  [ "$arch" = "$(uname -m)" ] || run=("qemu-$arch-static" -L "/usr/$arch-linux-gnu")
  "${run[@]}" "$build/tests/lomix_edge_value_tests" --gtest_brief=1
  for engine in reference rows; do
    drawn=$("${run[@]}" "$build/tests/golden_frames" "$build/bin/$engine/Lomix.so")
    diff <(echo "$blessed") <(echo "$drawn") ||
      { echo "error: clang, $arch: golden frames differ in the $engine module" >&2; exit 1; }
  done
  [ "$quick" = no ] || continue
  for test in "${tests[@]}"; do
    # The comparison by pixels below takes the place of the one by time.
    "${run[@]}" "$build/tests/$test" --gtest_brief=1 --gtest_filter=-Differential.RowsAreTheReferencesBytes
  done
  "${run[@]}" "$build/bin/lomix_differential" --seed 64 --pixels "$pixels"
done
