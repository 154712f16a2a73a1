#!/usr/bin/env bash
# Usage: tools/count_instructions.sh [--quick] [--update]
# Counts the instructions a pixel of the row engine and of the reference path in an emulator, on x86-64
# with AVX2 and on 64-bit ARM, and prints them. Fails where one is more than 5 % above the recorded
# count, and where translucent pixels cost 64-bit ARM more than twice what opaque ones do.
# --quick: counts the row engine for 64-bit ARM and opaque pixels alone, in the build that
# tools/check_clang.sh --quick left. --update: records the counts, also in docs/performance.md.
set -euo pipefail
cd "$(dirname "$0")/.."

quick=no update=()
for option in "$@"; do
  case $option in
    --quick) quick=yes ;;
    --update) update=(--update) ;;
    *) echo "error: '$option': unknown option (use --quick or --update)" >&2; exit 2 ;;
  esac
done

counter=$PWD/build/instruction_counter.so
program=tests/lomix_draw_frames
failed=0
count() { tools/count_instructions.py count "$1" --counter "$counter" "${update[@]}" "${@:2}" || failed=1; }
build_counter() {
  mkdir -p build
  cc -O2 -shared -fPIC tests/counts/InstructionCounter.c -o "$counter"
}
count_clang() {
  count arm64-clang --alphas opaque -- qemu-aarch64 -L /usr/aarch64-linux-gnu build/clang/aarch64/$program
}

if [ "$quick" = yes ]; then
  if [ ! -x build/clang/aarch64/$program ]; then
    echo "SKIPPED (instruction counts, arm64): tools/check_clang.sh has built nothing"
    exit 0
  fi
  tools/setup.sh
  build_counter
  count_clang
  exit "$failed"
fi

tools/setup.sh g++-aarch64-linux-gnu
build_counter
for preset in dev release; do
  tools/build.sh "$preset" --target lomix_draw_frames
done
echo "Building (arm64)..." >&2
arm64=build/arm64-release
mkdir -p "$arm64"
cmake -G Ninja -S . -B "$arm64" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DLOMIX_WERROR=ON -DLOMIX_BUILD_LIBRARY=OFF -DLOMIX_BUILD_MODULE=OFF \
  -DLOMIX_BUILD_COMMAND=OFF >"$arm64/build.log" 2>&1 &&
  cmake --build "$arm64" -j "$(nproc)" --target lomix_draw_frames >>"$arm64/build.log" 2>&1 ||
  { cat "$arm64/build.log" >&2; exit 1; }
tools/check_clang.sh --quick

haswell=(qemu-x86_64 -cpu Haswell)
count release --targets avx2,reference -- "${haswell[@]}" build/release/$program
count arm64 --targets best,reference --mixed-limit 2 -- qemu-aarch64 "$arm64/$program"
# What tools/test.sh counts.
count dev --targets avx2 --alphas opaque -- "${haswell[@]}" build/dev/$program
[ ! -x build/clang/aarch64/$program ] || count_clang
exit "$failed"
