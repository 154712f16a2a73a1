#!/usr/bin/env bash
# Usage: tools/run.sh [LOMIX ARGUMENTS...]
# Installs what is missing, builds, and runs the lomix command. Without arguments it renders the
# test card and the landscape with strong parameters into out/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/tools/setup.sh"
"$root/tools/build.sh" release --target lomix Lomix
lomix=$root/build/release/bin/lomix

[ "$#" -gt 0 ] && exec "$lomix" "$@"

mkdir -p "$root/out"
"$lomix" testcard "$root/out/testcard.png" --overwrite
"$lomix" testcard "$root/out/landscape.png" --scene --overwrite
"$lomix" render "$root/out/testcard.png" "$root/out/landscape.png" "$root/out/lomix/" --overwrite \
  --time 1.3 --set "Distortion Mode=Tile" --set "Signal Distortion=12" --set "Scan Distortion=45" \
  --set "Vertical Sync=8" --set "Bars Overlay=35" --set "Noise=25" \
  --set "Scanline Overlay=30" --set "Scanline Thickness=2"
echo "The pictures: $root/out"
echo "With Lomix:   $root/out/lomix"
