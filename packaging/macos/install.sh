#!/bin/bash
# Usage: sudo ./install.sh [--engine rows|reference]
#        sudo ./install.sh --remove
# Puts Lomix.plugin where After Effects and Premiere Pro find it and Lomix.ofx.bundle where OpenFX hosts
# do, or removes them. Both engines draw
# the same pixels; rows, the default, is the fast one.
set -euo pipefail
cd "$(dirname "$0")"

folder="/Library/Application Support/Adobe/Common/Plug-ins/7.0/MediaCore"
target=$folder/Lomix.plugin
ofx_folder=/Library/OFX/Plugins
ofx_target=$ofx_folder/Lomix.ofx.bundle
case "$*" in
  "" | "--engine rows") source=Lomix.plugin ;;
  "--engine reference") source=reference/Lomix.plugin ;;
  "--remove")
    if [ ! -e "$target" ] && [ ! -e "$ofx_target" ]; then
      echo "error: $target: Lomix is not installed there (nothing is to be done)" >&2
      exit 1
    fi
    rm -Rf "$target" "$ofx_target"
    echo "Removed '$target' and '$ofx_target'."
    exit 0
    ;;
  *)
    echo "error: install.sh: '$*' is not known (use --engine rows, --engine reference or --remove)" >&2
    exit 2
    ;;
esac

mkdir -p "$folder" "$ofx_folder"
rm -Rf "$target" "$ofx_target"
cp -R "$source" "$target"
cp -R Lomix.ofx.bundle "$ofx_target"
# macOS marks downloaded files and refuses to load a marked bundle.
xattr -dr com.apple.quarantine "$target" "$ofx_target" 2>/dev/null || true
echo "Installed '$target' from $source, and '$ofx_target'."
