#!/usr/bin/env bash
# Usage: tools/check_msi.sh
# Makes the Windows installer from the Windows build and tries it under Wine: folders, features, repair,
# update, removal, and what it refuses. Part of tools/check_windows.sh.
# Skipped where tools/setup_packaging.sh did not install what it takes.
set -euo pipefail
cd "$(dirname "$0")/.."

for tool in x86_64-w64-mingw32-g++-posix wine wixl msibuild faketime; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIPPED (installer): $tool is not installed (run tools/setup_packaging.sh)"
    exit 0
  fi
done

fail() { echo "error: installer: $*" >&2; exit 1; }

tools/build.sh mingw --target Lomix_reference Lomix_rows lomix lomix_ofx lomix_installer_actions
echo "Testing (installer)..."
bin=build/mingw/bin
work=$(mktemp -d)
# Never the user's own Wine, in whose registry and folders it would work.
export WINEPREFIX=${LOMIX_TEST_WINEPREFIX:-$work/wine} WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
holder=
trap '[ -z "$holder" ] || kill "$holder" 2>/dev/null; wineserver -k 2>/dev/null || true; rm -rf "$work"' EXIT
[ -d "$WINEPREFIX" ] || wineboot --init >/dev/null 2>&1 || fail "Wine does not start"

# The files of a package, and those of an older one.
stage=$work/new
mkdir -p "$stage/reference"
cp "$bin/rows/Lomix.aex" "$bin/lomix.exe" "$stage/"
cp "$bin/reference/Lomix.aex" "$stage/reference/"
cp -R "$bin/Lomix.ofx.bundle" "$stage/"
mkdir -p "$stage/Lomix.ofx.bundle/Contents/Resources"
cp docs/images/card.png "$stage/Lomix.ofx.bundle/Contents/Resources/lomix.effect.lomix.png"
tools/make_pages.py windows 2.0.0 "$stage"
cp LICENCE.txt "$stage/LICENCES.txt"
cp -R "$stage" "$work/old"
echo "an older module" >"$work/old/Lomix.aex"
tools/make_msi.sh "$stage" "$bin/InstallerActions.dll" 2.0.0 "$work/new.msi"
tools/make_msi.sh "$stage" "$bin/InstallerActions.dll" 2.0.0 "$work/again.msi"
cmp "$work/new.msi" "$work/again.msi" || fail "the same files gave another installer"
for version in old:1.9.0 newer:2.0.1; do
  tools/make_msi.sh "$work/old" "$bin/InstallerActions.dll" "${version#*:}" "$work/${version%:*}.msi"
done

drive=$WINEPREFIX/drive_c
media_core="$drive/Program Files/Adobe/Common/Plug-ins/7.0/MediaCore"
ofx="$drive/Program Files/Common Files/OFX/Plugins/Lomix.ofx.bundle/Contents/Win64/Lomix.ofx"
program="$drive/Program Files/Lomix"

# expect CODE ARGUMENTS...: runs the installer without windows. CODE: 0, or "failure".
expect() {
  local wanted=$1 got=0
  shift
  wine msiexec "$@" /qn >"$work/out" 2>&1 || got=$?
  [ "$wanted" = failure ] && [ "$got" -ne 0 ] && return 0
  [ "$wanted" = 0 ] && [ "$got" -eq 0 ] && return 0
  fail "msiexec $* ended with $got: $(cat "$work/out")"
}
same() { cmp "$1" "$2" || fail "$2 is not as it should be"; }
missing() { [ ! -e "$1" ] || fail "$1 is there"; }
# Files and folders, without what Windows itself keeps of installers and of the registry.
list() { (cd "$drive" && find . ! -path './windows/*' ! -path './users/*' | sort); }
in_registry() { wine reg query "$1" >/dev/null 2>&1; }
# Not through a pipe: grep may end before its writer, which then fails.
among_programs() {
  wine reg query 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall' /s >"$work/programs" 2>/dev/null || true
  grep -q Lomix "$work/programs"
}
# Expects what the installer writes into the registry, or that nothing of it is left.
registered() {
  in_registry 'HKLM\SOFTWARE\Lomix' || fail "its key is not in the registry"
  among_programs || fail "it is not among the programs"
}
unregistered() {
  ! in_registry 'HKLM\SOFTWARE\Lomix' || fail "removal left its key in the registry"
  ! among_programs || fail "removal left the entry among the programs"
}
list >"$work/before"

# The newest version counts as a number, not as a text, and only a folder that exists.
for version in 9.5:older 10.0:newest 11.0:missing; do
  wine reg add "HKLM\\SOFTWARE\\Adobe\\After Effects\\${version%:*}" /v CommonPluginInstallPath \
    /d "C:\\ae\\${version#*:}" /f >/dev/null
done
mkdir -p "$drive/ae/older" "$drive/ae/newest"
echo "another plug-in" >"$drive/ae/newest/other.aex"
expect 0 /i "$work/new.msi"
same "$stage/Lomix.aex" "$drive/ae/newest/Lomix/Lomix.aex"
# What was installed is found again where After Effects is gone.
wine reg delete 'HKLM\SOFTWARE\Adobe' /f >/dev/null
expect 0 /x "$work/new.msi"
[ "$(ls "$drive/ae/newest")" = other.aex ] || fail "removal left or took files in After Effects' folder"
rm -r "$drive/ae"
list | diff "$work/before" - || fail "removal left files"

unregistered
expect 0 /i "$work/new.msi" ADDLOCAL=Reference
registered
same "$stage/reference/Lomix.aex" "$media_core/Lomix/Lomix.aex"
same "$stage/README.html" "$program/README.html"
missing "$ofx"
missing "$program/lomix.exe"
expect 0 /i "$work/new.msi" ADDLOCAL=Rows,OpenFX REMOVE=Reference
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
same "$stage/Lomix.ofx.bundle/Contents/Win64/Lomix.ofx" "$ofx"
expect failure /i "$work/new.msi" ADDLOCAL=Reference
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
expect 0 /x "$work/new.msi"
list | diff "$work/before" - || fail "removal left files"
unregistered

expect failure /i "$work/new.msi" ADDLOCAL=Rows,Reference
list | diff "$work/before" - || fail "a refused installation left files"

# An update keeps the features that were chosen, unless others are.
expect 0 /i "$work/old.msi" ADDLOCAL=Reference
expect 0 /i "$work/new.msi"
same "$stage/reference/Lomix.aex" "$media_core/Lomix/Lomix.aex"
missing "$ofx"
missing "$program/lomix.exe"
expect 0 /x "$work/new.msi"
expect 0 /i "$work/old.msi" ADDLOCAL=Reference
expect 0 /i "$work/new.msi" ADDLOCAL=Rows,Command
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
missing "$ofx"
same "$stage/lomix.exe" "$program/lomix.exe"
expect 0 /x "$work/new.msi"
list | diff "$work/before" - || fail "removal left files"

# Over an older version, then over itself, but not back.
expect 0 /i "$work/old.msi"
same "$work/old/Lomix.aex" "$media_core/Lomix/Lomix.aex"
expect 0 /i "$work/new.msi"
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
expect failure /i "$work/old.msi"
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
rm "$ofx"
echo damaged >"$media_core/Lomix/Lomix.aex"
expect 0 /i "$work/new.msi" REINSTALL=ALL
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
same "$stage/Lomix.ofx.bundle/Contents/Win64/Lomix.ofx" "$ofx"

# While a host has loaded the module, nothing is changed.
registered
list >"$work/installed"
wine "$program/lomix.exe" testcard "$work/card.png" --size 64x64
wine "$program/lomix.exe" render "$work/card.png" "$work/frame.####.png" --frames 1-9999 --no-fsync \
  --engine plugin --plugin "$(winepath -w "$media_core/Lomix/Lomix.aex")" --quiet >"$work/out" 2>&1 &
holder=$!
for _ in $(seq 100); do [ -e "$work/frame.0001.png" ] && break; sleep 0.1; done
[ -e "$work/frame.0001.png" ] || fail "the command does not render: $(cat "$work/out")"
for arguments in "/x $work/new.msi" "/i $work/newer.msi" "/i $work/new.msi REINSTALL=ALL"; do
  # shellcheck disable=SC2086 # Several arguments.
  expect failure $arguments
  list | diff "$work/installed" - || fail "msiexec $arguments changed files that are in use"
done
same "$stage/Lomix.aex" "$media_core/Lomix/Lomix.aex"
wine taskkill /f /im lomix.exe >/dev/null 2>&1 || true
wait "$holder" || true
holder=

expect 0 /x "$work/new.msi"
list | diff "$work/before" - || fail "removal left files"
unregistered
echo "Installer: all passed."
