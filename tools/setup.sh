#!/usr/bin/env bash
# Usage: tools/setup.sh [MORE PACKAGES...]
# Installs what building and testing need on Debian 12, where it is missing. Safe to run again.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config ccache git python3 python3-jsonschema python3-markdown clang-format
  libopenimageio-dev libopenexr-dev libexiv2-dev libcairo2-dev libfontconfig-dev fonts-dejavu-core
  libcli11-dev libcpp-httplib-dev nlohmann-json3-dev libgtest-dev libgmock-dev
  libavformat-dev libavcodec-dev libavfilter-dev libavutil-dev libswscale-dev libwebp-dev ffmpeg melt
  qemu-user strace
  parallel python3-yaml shellcheck
  zsh fish groff-base
  "$@"
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "error: packages missing: ${missing[*]} (run this as root, or install sudo)" >&2
    exit 1
  fi
  as_root=(sudo)
fi

echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq >&2
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
