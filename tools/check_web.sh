#!/usr/bin/env bash
# Usage: tools/check_web.sh [NODE TEST ARGUMENTS...]
# Builds the browser page and tests it: types, the binding and the texts of looks under node, and the page in
# Chromium, where the pixels of its files are compared with those of the lomix command. Screenshots are in
# build/web-tests/screenshots. Says "SKIPPED" and the reason where emscripten, Chromium or node 20 cannot be
# installed. LOMIX_CHROMIUM names another browser.
set -euo pipefail
cd "$(dirname "$0")/.."

skip() {
  echo "SKIPPED (web): $1"
  exit 0
}
command -v node >/dev/null && command -v npm >/dev/null || tools/setup.sh nodejs npm ||
  skip "node cannot be installed"
# The test driver and the tests need it; Debian 12 has an older one.
node -e 'process.exit(parseInt(process.versions.node) < 20 ? 1 : 0)' ||
  skip "the tests need node 20 or newer; this is $(node --version)"
packages=(emscripten node-acorn)
export LOMIX_CHROMIUM=${LOMIX_CHROMIUM:-/usr/bin/chromium}
[ -x "$LOMIX_CHROMIUM" ] || packages+=(chromium)
tools/setup.sh "${packages[@]}" || skip "emscripten or Chromium cannot be installed"
tools/web.sh --build-only
tools/build.sh dev --target lomix golden_frames

out=$PWD/build/web-tests
rm -rf "$out"
mkdir -p "$out"
build/dev/tests/golden_frames build/dev/bin/reference/Lomix.so --export "$out/golden.json"
(cd web && node_modules/.bin/esbuild tests/*.test.ts --bundle --platform=node --format=esm --outdir="$out" \
  --out-extension:.js=.mjs --external:playwright-core --log-level=warning)
ln -sfn ../../web/node_modules "$out/node_modules"

echo "Testing (web)..."
export LOMIX_WEB_PAGE=$PWD/dist/web LOMIX_COMMAND=$PWD/build/dev/bin/lomix LOMIX_GOLDEN_FRAMES=$out/golden.json
export LOMIX_AXE=$PWD/web/node_modules/axe-core/axe.min.js LOMIX_SCREENSHOTS=$out/screenshots
node --test --test-reporter=spec --test-concurrency=2 "$@" "$out"/*.test.mjs
