#!/usr/bin/env bash
# Usage: tools/web.sh [--build-only]
# Installs what the browser page takes, builds it into dist/web, and serves it on 127.0.0.1 until it is
# interrupted. Prints the address.
# --build-only: does not serve it.
set -euo pipefail
cd "$(dirname "$0")/.."

serve=yes
case "${1:-}" in
  "") ;;
  --build-only) serve=no ;;
  *)
    echo "error: web.sh: '$1' is no option (use --build-only, or none)" >&2
    exit 2
    ;;
esac

# Packages of the system, of which a node that is not Debian's is as good.
packages=(emscripten node-acorn)
command -v npm >/dev/null || packages+=(nodejs npm)
tools/setup.sh "${packages[@]}"
# A node that is not Debian's does not look for Debian's packages by itself.
export NODE_PATH=/usr/share/nodejs
if ! cmp -s web/package-lock.json web/node_modules/.lomix-lock; then
  (cd web && npm ci --ignore-scripts --no-fund --no-audit --loglevel=error)
  cp web/package-lock.json web/node_modules/.lomix-lock
fi

tools/build.sh web --target lomix_web
tools/build.sh web-plain --target lomix_web
(cd web && npm run --silent check)
node web/build.mjs dist/web build/web/bin/lomix.wasm build/web-plain/bin/lomix.wasm

[ "$serve" = yes ] || exit 0
exec python3 -m http.server --bind 127.0.0.1 --directory dist/web 0
