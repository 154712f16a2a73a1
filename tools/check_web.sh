#!/usr/bin/env bash
# Usage: tools/check_web.sh
# Builds the browser page and tests it: types, the binding and the texts of looks under node, and the page in
# Chromium, where the pixels of its files are compared with those of the lomix command. Screenshots are in
# build/web-tests/screenshots. Skipped where emscripten or Chromium cannot be installed.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(emscripten node-acorn chromium)
command -v npm >/dev/null || packages+=(nodejs npm)
if ! tools/setup.sh "${packages[@]}"; then
  echo "SKIPPED (web): emscripten or Chromium cannot be installed"
  exit 0
fi
# The test driver needs this version; Debian 12 has an older one.
if ! node -e 'process.exit(parseInt(process.versions.node) < 20 ? 1 : 0)'; then
  echo "SKIPPED (web): the tests need node 20 or newer"
  exit 0
fi
tools/web.sh --build-only
tools/build.sh dev --target lomix golden_frames

out=$PWD/build/web-tests
mkdir -p "$out"
build/dev/tests/golden_frames build/dev/bin/reference/Lomix.so --export "$out/golden.json"
(cd web && node_modules/.bin/esbuild tests/*.test.ts --bundle --platform=node --format=esm --outdir="$out" \
  --out-extension:.js=.mjs --external:playwright-core --log-level=warning)
ln -sfn ../../web/node_modules "$out/node_modules"

echo "Testing (web)..."
export LOMIX_WEB_PAGE=$PWD/dist/web LOMIX_COMMAND=$PWD/build/dev/bin/lomix LOMIX_GOLDEN_FRAMES=$out/golden.json
export LOMIX_AXE=$PWD/web/node_modules/axe-core/axe.min.js LOMIX_SCREENSHOTS=$out/screenshots
export LOMIX_CHROMIUM=${LOMIX_CHROMIUM:-/usr/bin/chromium}
node --test --test-reporter=spec --test-concurrency=1 "$@" "$out"/*.test.mjs
