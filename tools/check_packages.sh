#!/usr/bin/env bash
# Usage: tools/check_packages.sh
# Makes the packages twice, the second time in a folder with spaces in its name, and compares them. Unpacks
# each, checks it against its manifest and runs the programs that run on this system. Checks the Debian
# packages with lintian and, as root, installs, uses and purges them in a bare Debian. Checks the bill of
# materials with the SPDX project's own tools.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "error: packages: $*" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
tools/package.sh >/dev/null
second="$work/a second folder"
mkdir -p "$second/build/tools"
git ls-files -z --cached --others --exclude-standard |
  while IFS= read -r -d '' file; do [ ! -e "$file" ] || printf '%s\0' "$file"; done |
  xargs -0 cp -a --parents -t "$second"
cp -a build/tools/macos-compiler "$second/build/tools/"
"$second/tools/package.sh" >/dev/null
diff "$second/dist/SHA256SUMS" dist/SHA256SUMS || fail "another folder gave other bytes"
rm -rf "$second"
(cd dist && sha256sum --quiet --check SHA256SUMS)

python3 -m venv "$work/spdx" && "$work/spdx/bin/pip" install -q spdx-tools==0.8.3 >"$work/pip" 2>&1 ||
  { echo "SKIPPED (packages): the bill of materials, since spdx-tools cannot be installed"; rm -rf "$work/spdx"; }
if [ -d "$work/spdx" ]; then
  "$work/spdx/bin/pyspdxtools" -i dist/Lomix-*.spdx.json || fail "the bill of materials is not valid"
fi
for file in dist/*; do
  case "$file" in
    */SHA256SUMS | *.spdx.json) continue ;;
  esac
  grep -q "$(sha256sum "$file" | cut -d ' ' -f 1)" dist/Lomix-*.spdx.json || fail "$file is not in the bill"
done

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
  local folder=$work
  [ "$1" != enter_debian ] || folder=/tmp
  "$@" testcard "$folder/card.png" --size 64x48 --overwrite
  "$@" render "$folder/card.png" "$folder/out.png" --engine plugin --set Noise=30 --overwrite --quiet
}

tree=$(echo "$work"/*-linux-*)
use "$tree/bin/lomix"
# use_library PREFIX [FOLDER]: builds a program with the library in PREFIX/lib/FOLDER and draws the card with it.
use_library() {
  local libraries=$1/lib/${2:-}
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
diff -rq dist/web "$work/prefix/share/lomix/web" || fail "install.sh leaves files of the browser page out"
cmp "$tree/lib/lomix/reference/Lomix.so" "$work/prefix/lib/lomix/Lomix.so"
"$tree/install.sh" --remove "$work/prefix" >/dev/null
[ ! -e "$work/prefix" ] || fail "install.sh --remove left files"

# The pages say what the folders of their system have.
for folder in "$work"/*-win64 "$work"/*-macos "$work"/*-linux-*; do
  for file in README.html install.html CHANGELOG.html LICENCES.txt; do
    [ -s "$folder/$file" ] || fail "$folder has no $file"
  done
  grep -qF "$(cat LICENCE.txt)" "$folder/LICENCES.txt" || fail "$folder does not say that no licence was chosen"
done
msiinfo export dist/*.msi Feature | grep OpenFX >/dev/null || fail "the installer has no feature OpenFX"

if command -v wine >/dev/null; then
  export WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  wineboot --init >/dev/null 2>&1
  use wine "$work"/*-win64/lomix.exe
  wineserver -k || true
else
  echo "SKIPPED (packages): the Windows command, since Wine is not installed"
fi

lintian --allow-root --fail-on error,warning dist/*.deb || fail "lintian has complaints"
lintian --allow-root --fail-on info --display-info dist/*.deb \
  --tags hardening-no-bindnow,hardening-no-fortify-functions,hardening-no-pie,hardening-no-relro ||
  fail "a program is not hardened"
for file in dist/*.deb; do dpkg -x "$file" "$work/debs"; done
appstreamcli validate --no-net "$work"/debs/usr/share/metainfo/*.xml || fail "the AppStream metadata is not valid"
use_library "$work/debs/usr" "$(dpkg-architecture -qDEB_HOST_MULTIARCH)"
use_frei0r "$work/debs/usr/lib/frei0r-1"
depends=$(dpkg -f dist/lomix_*.deb Depends)
for library in libavfilter libexiv2 libopenimageio; do
  [[ $depends == *$library* ]] || fail "the command's package depends on $depends"
done

# enter_debian COMMAND...: runs a command in the bare Debian, with a /proc of its own, where lomix looks for its
# folder.
debian=$work/debian
enter_debian() { DEBIAN_FRONTEND=noninteractive unshare --pid --fork --root="$debian" --mount-proc "$@"; }
# in_debian COMMAND...: the same, without what the command says unless it fails.
in_debian() { enter_debian "$@" >"$work/log" 2>&1 || fail "$*: $(cat "$work/log")"; }
# sources: where this system gets its packages.
sources() { cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources 2>/dev/null || true; }
if [ "$(id -u)" -ne 0 ]; then
  echo "SKIPPED (packages): installing the Debian packages, which takes root"
elif ! sources | mmdebstrap --quiet --variant=apt --include=man-db bookworm "$debian" - >"$work/log" 2>&1; then
  echo "SKIPPED (packages): installing the Debian packages, since no bare Debian can be made: $(tail -1 "$work/log")"
else
  cp dist/*.deb "$debian/tmp/"
  (cd "$debian" && find . ! -path './proc/*' ! -path './var/*' ! -path './tmp/*' | sort) >"$work/before"
  in_debian apt-get update
  in_debian sh -c 'apt-get install -y --no-install-recommends /tmp/*.deb'
  use enter_debian lomix
  for file in lomix/Lomix.so lomix/reference/Lomix.so; do in_debian lomix inspect "/usr/lib/$file"; done
  in_debian man -P cat lomix
  in_debian dpkg --verify lomix lomix-plugins liblomix2 liblomix-dev
  in_debian sh -c 'ldconfig -p | grep liblomix.so.2'
  in_debian apt-get purge -y --autoremove lomix lomix-plugins liblomix2 liblomix-dev
  (cd "$debian" && find . ! -path './proc/*' ! -path './var/*' ! -path './tmp/*' | sort) >"$work/after"
  left=$(comm -13 "$work/before" "$work/after" | grep -i lomix || true)
  [ -z "$left" ] || fail "after the packages were purged these are left: $left"
fi
echo "Packages: all passed."
