#!/usr/bin/env bash
# Usage: tools/check_windows.sh
# Builds for Windows, checks the imports and exports of the files, and runs them under Wine: the tests of the
# effect through its host interface, the golden frames, the OpenFX plug-in, and the command, whose results are
# compared with those of this system's command; then the installer.
# Skipped where tools/setup_packaging.sh did not install what it takes.
set -euo pipefail
cd "$(dirname "$0")/.."

for tool in x86_64-w64-mingw32-g++-posix wine; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIPPED (windows): $tool is not installed (run tools/setup_packaging.sh)"
    exit 0
  fi
done

fail() { echo "error: windows: $*" >&2; exit 1; }

tests=(effect_reference_test effect_rows_test golden_test library_golden_test resource_test
  lomix_unit_tests ofx_test support_test windows_picture_test)
tools/build.sh mingw --target all golden_frames "${tests[@]}"
tools/build.sh dev --target lomix golden_frames Lomix Lomix_reference Lomix_rows

bin=build/mingw/bin
echo "Testing (windows)..."
for file in "$bin"/Lomix.aex "$bin"/{reference,rows}/Lomix.aex "$bin"/lomix.exe \
  "$bin/Lomix.ofx.bundle/Contents/Win64/Lomix.ofx"; do
  headers=$(x86_64-w64-mingw32-objdump -p "$file")
  # Addresses at random, of 64 bits, and no code in data.
  protection=$(sed -n 's/^DllCharacteristics\t*//p' <<<"$headers")
  [ "$((16#$protection & 16#160))" -eq "$((16#160))" ] || fail "$file has the characteristics $protection"
  imports=$(sed -n 's/^\tDLL Name: //p' <<<"$headers" | tr '[:upper:]' '[:lower:]' | sort | xargs)
  system="kernel32.dll msvcrt.dll"
  [[ $file == *.exe ]] && system+=" ole32.dll"
  [ "$imports" = "$system" ] || fail "$file imports $imports"
  exports=$(awk '/Ordinal\/Name Pointer\] Table/ { inside = 1; next } /^$/ { inside = 0 }
                 inside { print $NF }' <<<"$headers" | xargs)
  expected=EntryPointFunc
  [[ $file == *.ofx ]] && expected="OfxGetNumberOfPlugins OfxGetPlugin OfxSetHost"
  [[ $file == *.exe ]] && expected=
  [ "$exports" = "$expected" ] || fail "$file exports $exports"
done

work=$(mktemp -d)
export LC_ALL=C.UTF-8  # Wine passes names on in the character set of the locale.
export WINEPREFIX=$PWD/build/mingw/wine WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
trap 'wineserver -k 2>/dev/null || true; rm -rf "$work"' EXIT
rm -rf "$WINEPREFIX"
wineboot --init >"$work/wineboot" 2>&1 || { cat "$work/wineboot" >&2; fail "Wine does not start"; }

printf '%s\n' "${tests[@]}" |
  xargs -P "$(nproc)" -I {} wine build/mingw/tests/{}.exe --gtest_brief=1 || fail "a test failed"
for engine in reference rows; do
  wine build/mingw/tests/golden_frames.exe "$bin/$engine/Lomix.aex" --write "$work/pixels"
  echo -n "Golden frames ($engine): "
  build/dev/tests/golden_frames "build/dev/bin/$engine/Lomix.so" --compare "$work/pixels"
done

# The command of each system reads the other's picture, and their results are compared.
lomix=build/dev/bin/lomix
wine_lomix() { wine "$bin/lomix.exe" "$@"; }
same() {
  "$lomix" compare "$work/$1" "$work/$2" --fail-above 0 >"$work/out" || fail "$1: $(cat "$work/out")"
}
expect() {
  local code=$1 got=0
  shift
  wine_lomix "$@" >"$work/out" 2>"$work/err" || got=$?
  [ "$got" -eq "$code" ] || fail "lomix $* ended with $got, not $code: $(cat "$work/err")"
  [ "$code" -eq 0 ] || grep -q '^error: .*)' "$work/err" || fail "lomix $*: no reason is given"
}
look=(--set Noise=30 --set "Scan Distortion=20" --set "Bars Overlay=40" --set "Vertical Sync=-7"
  --set "Signal Distortion=15" --set "Scanline Overlay=35" --time 1.5 --quiet)

expect 0 testcard "$work/Prüfbild.png" --size 333x222 --alpha
"$lomix" testcard "$work/card.png" --size 333x222 --alpha
for engine in rows plugin; do
  expect 0 render "$work/Prüfbild.png" "$work/$engine.bmp" "${look[@]}" --engine "$engine"
done
expect 0 render "$work/card.png" "$work/read.bmp" "${look[@]}"
"$lomix" render "$work/Prüfbild.png" "$work/linux.bmp" "${look[@]}"
for picture in rows plugin read; do same "$picture.bmp" linux.bmp; done

# 16 bits, with alpha, from and to PNG and TIFF.
"$lomix" render "$work/card.png" "$work/deep.png" --depth 32 --quiet
"$lomix" render "$work/card.png" "$work/deep.tif" --depth 32 --quiet
for format in png tif; do
  "$lomix" render "$work/deep.png" "$work/linux.$format" "${look[@]}"
  expect 0 render "$work/deep.$format" "$work/windows.$format" "${look[@]}"
  same "windows.$format" "linux.$format"
done
"$lomix" testcard "$work/card.jpg"
expect 0 render "$work/card.jpg" "$work/again.tif" --depth 8
expect 0 render "$work/again.tif" "$work/again.jpg"

expect 0 inspect "$bin/Lomix.aex"
diff <(tr -d '\r' <"$work/out") <("$lomix" inspect build/dev/bin/Lomix.so) || fail "inspect differs"
expect 0 params
diff <(tr -d '\r' <"$work/out") <("$lomix" params) || fail "params differs"

expect 2 render "$work/card.png"
expect 1 render "$work/missing.png" "$work/new.png"
expect 1 render "$work/card.png" "$work/rows.bmp"
expect 1 render "$work/card.png" "$work/new.exr"
expect 1 render "$work/card.png" "$work/new.tga"
for picture in card.png card.jpg; do
  head -c 3000 "$work/$picture" >"$work/cut-$picture"
  expect 1 render "$work/cut-$picture" "$work/new.png"
done
echo "no picture" >"$work/text.png"
expect 1 render "$work/text.png" "$work/new.png"
compgen -G "$work/new.*" >/dev/null && fail "a failed command left a file"
echo "Windows: all passed."
LOMIX_TEST_WINEPREFIX=$WINEPREFIX tools/check_msi.sh
