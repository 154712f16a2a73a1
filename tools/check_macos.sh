#!/usr/bin/env bash
# Usage: tools/check_macos.sh
# Builds the plug-in for macOS and checks the bundles, which cannot be run here. Skipped where
# tools/setup_packaging.sh did not install what it takes.
set -euo pipefail
cd "$(dirname "$0")/.."

for tool in ld64.lld-16 llvm-lipo-14 build/tools/macos-compiler/node_modules; do
  if ! command -v "$tool" >/dev/null && [ ! -d "$tool" ]; then
    echo "SKIPPED (macos): $tool is not installed (run tools/setup_packaging.sh)"
    exit 0
  fi
done

tools/build_macos.sh
echo "Checking (macos)..."
tools/check_macos_bundle.py build/macos/{reference,rows}/Lomix.plugin
tools/check_macos_bundle.py --ofx build/macos/Lomix.ofx.bundle
# The resource is the one that the tests read.
tools/build.sh dev --target resource_test
for engine in reference rows; do
  cmp "build/macos/$engine/Lomix.plugin/Contents/Resources/Lomix.rsrc" build/dev/resource/Lomix.rsrc
done
build/dev/tests/resource_test --gtest_brief=1
