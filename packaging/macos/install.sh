#!/bin/bash
# Usage: sudo ./install.sh [--engine rows|reference]
#        sudo ./install.sh --remove
# Puts Lomix.plugin where After Effects and Premiere Pro find it and Lomix.ofx.bundle where OpenFX hosts
# do, or removes them. Both engines draw the same pixels; rows, the default, is the fast one. With
# DESTDIR set, the paths begin in that folder instead of in "/".
set -euo pipefail
umask 022
cd "$(dirname "$0")"

# fail CODE MESSAGE
fail() {
  echo "error: install.sh: $2" >&2
  exit "$1"
}

folder="${DESTDIR:-}/Library/Application Support/Adobe/Common/Plug-ins/7.0/MediaCore"
target=$folder/Lomix.plugin
ofx_folder=${DESTDIR:-}/Library/OFX/Plugins
ofx_target=$ofx_folder/Lomix.ofx.bundle
case "$*" in
  "" | "--engine rows") source=Lomix.plugin ;;
  "--engine reference") source=reference/Lomix.plugin ;;
  "--engine") fail 2 "--engine: an engine is missing (use rows or reference)" ;;
  "--remove") source= ;;
  *) fail 2 "'$*' is not known (use --engine rows, --engine reference or --remove)" ;;
esac

# check_ours BUNDLE: fails where something else has the bundle's name.
check_ours() {
  [ -e "$1" ] || [ -L "$1" ] || return 0
  grep -q '<string>\(org\.\)\{0,1\}lomix\.' "$1/Contents/Info.plist" 2>/dev/null ||
    fail 1 "'$1' is not Lomix (move it away)"
}
check_ours "$target"
check_ours "$ofx_target"
# check_writable FOLDER
check_writable() {
  local existing=$1
  while [ ! -e "$existing" ]; do existing=$(dirname "$existing"); done
  [ -w "$existing" ] || fail 1 "'$1': no permission to write there (use sudo: sudo ./install.sh $arguments)"
}
arguments=$*

if [ -z "$source" ]; then
  if [ ! -e "$target" ] && [ ! -e "$ofx_target" ]; then
    fail 1 "'$target': Lomix is not installed there (nothing is to be done)"
  fi
  check_writable "$folder"
  check_writable "$ofx_folder"
  rm -Rf "$target" "$ofx_target"
  echo "Removed '$target' and '$ofx_target'."
  exit 0
fi

check_writable "$folder"
check_writable "$ofx_folder"
mkdir -p "$folder" "$ofx_folder"
trap 'rm -Rf "$target.new" "$ofx_target.new"' EXIT
rm -Rf "$target.new" "$ofx_target.new"
cp -R "$source" "$target.new"
cp -R Lomix.ofx.bundle "$ofx_target.new"
# macOS marks downloaded files and refuses to load a marked bundle.
xattr -dr com.apple.quarantine "$target.new" "$ofx_target.new" 2>/dev/null || true
rm -Rf "$target" "$ofx_target"
mv "$target.new" "$target"
mv "$ofx_target.new" "$ofx_target"
echo "Installed '$target' from $source, and '$ofx_target'."
