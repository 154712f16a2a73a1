#!/usr/bin/env bash
# Usage: tools/check_packages.sh
# Makes the packages twice and compares them, unpacks each, checks it against its manifest and runs
# the programs that run on this system. As root the Debian package is installed, used and purged.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "error: packages: $*" >&2; exit 1; }

tools/package.sh >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp dist/SHA256SUMS "$work/first"
tools/package.sh >/dev/null
cmp "$work/first" dist/SHA256SUMS || fail "a second run gave other bytes"
(cd dist && sha256sum --quiet --check SHA256SUMS)

for file in dist/*.zip dist/*.tar.gz; do
  case "$file" in
    *.zip) unzip -q "$file" -d "$work" ;;
    *) tar -C "$work" -xzf "$file" ;;
  esac
  folder=$(basename "$file")
  folder=$work/${folder%.zip}
  folder=${folder%.tar.gz}
  (cd "$folder" && grep -E '^[0-9a-f]{64} ' MANIFEST.txt | sha256sum --quiet --check) ||
    fail "$file is not as its manifest says"
  [ "$(find "$folder" -type f | wc -l)" -eq "$(($(grep -cE '^[0-9a-f]{64} ' "$folder/MANIFEST.txt") + 1))" ] ||
    fail "$file holds more than its manifest says"
  [ "$(find "$folder" -name Lomix.aex -o -path '*MacOS/Lomix' -o -name Lomix.so | wc -l)" -eq 2 ] ||
    fail "$file does not hold the modules of both engines"
done
tools/check_macos_bundle.py "$work"/*-macos/Lomix.plugin "$work"/*-macos/reference/Lomix.plugin
for folder in "$work"/*-win64 "$work"/*-macos "$work"/*-linux-*/OFX/Plugins; do
  (cd "$folder/Lomix.ofx.bundle/Contents" && [ -s Info.plist ] && [ -s Linux-x86-64/Lomix.ofx ] &&
    [ -s Win64/Lomix.ofx ] && [ -s MacOS/Lomix.ofx ] && [ -s Resources/lomix.effect.lomix.png ]) ||
    fail "$folder: the OpenFX bundle is not whole"
done

# use_frei0r FOLDER: draws the card in ffmpeg with the plug-in there.
use_frei0r() {
  FREI0R_PATH=$1 ffmpeg -v error -y -i "$work/card.png" -vf "frei0r=lomix:weak-aerial|y" "$work/frei0r.png"
}

# use COMMAND...: draws a card and renders it with the module that the command finds by itself.
use() {
  "$@" testcard "$work/card.png" --size 64x48 --overwrite
  "$@" render "$work/card.png" "$work/out.png" --engine plugin --set Noise=30 --overwrite --quiet
}

tree=$(echo "$work"/*-linux-*)
use "$tree/bin/lomix"
# use_library PREFIX: builds a program with the library there and draws the card with it.
use_library() {
  local libraries=$1/lib
  cc -std=c11 examples/ppm.c -o "$work/ppm" \
    $(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs lomix)
  "$tree/bin/lomix" testcard "$work/card.ppm" --size 64x48 --overwrite
  LD_LIBRARY_PATH=$libraries "$work/ppm" "$work/card.ppm" "$work/drawn.ppm" weak-aerial 1.5
  "$tree/bin/lomix" render "$work/card.ppm" "$work/expected.ppm" --preset weak-aerial --time 1.5 \
    --overwrite --quiet
  cmp "$work/drawn.ppm" "$work/expected.ppm"
}
use_library "$tree"
use_frei0r "$tree/lib/frei0r-1"
for engine in rows reference; do
  "$tree/install.sh" --engine "$engine" "$work/prefix" >/dev/null
  use "$work/prefix/bin/lomix"
  use_library "$work/prefix"
done
diff -rq presets "$work/prefix/share/lomix/presets" || fail "install.sh leaves presets out"
cmp "$tree/lib/lomix/reference/Lomix.so" "$work/prefix/lib/lomix/Lomix.so"
"$tree/install.sh" --remove "$work/prefix" >/dev/null
[ -z "$(find "$work/prefix" ! -type d)" ] || fail "install.sh --remove left files"

if command -v wine >/dev/null; then
  export WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  wineboot --init >/dev/null 2>&1
  use wine "$work"/*-win64/lomix.exe
  wineserver -k || true
else
  echo "SKIPPED (packages): the Windows command, since Wine is not installed"
fi

if [ "$(id -u)" -ne 0 ] || dpkg-query -s lomix >/dev/null 2>&1; then
  echo "SKIPPED (packages): the Debian package, which takes root and no lomix installed"
else
  export DEBIAN_FRONTEND=noninteractive
  apt-get install -y -qq "$PWD"/dist/lomix_*.deb >"$work/apt" 2>&1 || fail "$(cat "$work/apt")"
  use_library /usr
  cd /
  use lomix
  lomix inspect /usr/lib/lomix/reference/Lomix.so >/dev/null
  dpkg --verify lomix
  mapfile -t installed < <(dpkg -L lomix | grep lomix)
  apt-get purge -y -qq lomix >"$work/apt" 2>&1 || fail "$(cat "$work/apt")"
  for file in "${installed[@]}"; do
    [ ! -e "$file" ] || fail "$file is left after the package was purged"
  done
fi
echo "Packages: all passed."
