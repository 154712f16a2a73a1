#!/usr/bin/env bash
# Usage: tools/package.sh [windows] [macos] [linux]
# Builds the packages into dist/, all of them where none is named: an installer and a zip for Windows, a zip
# for macOS, Debian packages and a tar for Linux. Zips and tar have the modules of both engines, the OpenFX
# bundle of all three systems, documents, the licences of what is linked in, and a manifest; the packages
# for Linux have the frei0r plug-in too. SHA256SUMS has their checksums, Lomix-VERSION.spdx.json is their
# bill of materials. The same sources give the same bytes in any folder.
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
# Every file in a package has the time of the last commit, or that of SOURCE_DATE_EPOCH.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || echo 1700000000)}
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8
umask 022
dist=$PWD/dist
stage=$PWD/build/package/stage
rm -rf "$stage"
mkdir -p "$dist" "$stage"
[ "$#" -gt 0 ] || find "$dist" -maxdepth 1 -name "*omix*" -delete

# finish SYSTEM PART...: writes the documents of the package for a system, of the parts that
# packaging/components.json knows, into the folder in hand; last of all the list of its files.
finish() {
  tools/make_pages.py "$1" "$version" "$root"
  tools/describe_packages.py notices "${@:2}" >"$root/LICENCES.txt"
  {
    echo "Lomix $version for $1. The modules of both engines draw the same pixels."
    echo
    (cd "$root" && find . -type f ! -name MANIFEST.txt | sort | sed 's|^\./||' | xargs -d '\n' sha256sum)
  } >"$root/MANIFEST.txt"
  set_times "$root"
}
set_times() { find "$1" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +; }

zip_up() {
  local name
  name=$(basename "$root")
  rm -f "$dist/$name.zip"
  (cd "$(dirname "$root")" && find "$name" | sort | zip -q -X -9 "$dist/$name.zip" -@)
}

linux_build=build/package/linux
# configure_linux LIBDIR: the folder of libraries below the prefix.
configure_linux() {
  # Debian's hardening. The compiler's other options are those of a release.
  local -x DEB_BUILD_MAINT_OPTIONS="hardening=+all reproducible=-fixfilepath,-fixdebugpath"
  local -x DEB_CXXFLAGS_MAINT_STRIP="-g -O2"
  local link
  link=$(dpkg-buildflags --get LDFLAGS)
  mkdir -p "$linux_build"
  cmake -G Ninja -S . -B "$linux_build" -DCMAKE_BUILD_TYPE=Release -DLOMIX_RENDERER=rows \
    -DLOMIX_BUILD_TESTS=OFF -DLOMIX_BUILD_BENCH=OFF -DCMAKE_INSTALL_LIBDIR="$1" \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$link" -DCMAKE_MODULE_LINKER_FLAGS="$link" \
    -DCMAKE_SHARED_LINKER_FLAGS="$link" >"$linux_build/build.log"
}
build_linux() {
  configure_linux lib
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

package_windows() {
  make_bundle
  tools/build.sh mingw --target Lomix_reference Lomix_rows lomix lomix_installer_actions
  root=$stage/Lomix-$version-win64
  local bin=build/mingw/bin
  mkdir -p "$root/reference"
  cp "$bin/rows/Lomix.aex" "$bin/lomix.exe" "$root/"
  cp "$bin/reference/Lomix.aex" "$root/reference/"
  cp -R "$bundle" "$root/"
  finish windows openfx windows
  zip_up
  tools/make_msi.sh "$root" "$bin/InstallerActions.dll" "$version" "$dist/$(basename "$root").msi"
}

package_macos() {
  make_bundle
  tools/check_macos_bundle.py build/macos/{reference,rows}/Lomix.plugin
  root=$stage/Lomix-$version-macos
  mkdir -p "$root/reference"
  cp -R build/macos/rows/Lomix.plugin packaging/macos/*.sh "$root/"
  cp -R build/macos/reference/Lomix.plugin "$root/reference/"
  cp -R "$bundle" "$root/"
  finish macos openfx macos
  zip_up
}

package_linux() {
  make_bundle
  tools/web.sh --build-only >"$stage/web.log" || { cat "$stage/web.log" >&2; exit 1; }
  build_linux lomix Lomix Lomix_reference lomix_shared lomix_static lomix_frei0r
  tools/describe_packages.py check "$linux_build/bin/lomix"

  root=$stage/Lomix-$version-linux-$(dpkg --print-architecture)
  cmake --install "$linux_build" --prefix "$root" --strip >/dev/null
  rm -rf "$root/OFX/Plugins/Lomix.ofx.bundle"
  cp -R "$bundle" "$root/OFX/Plugins/"
  cp packaging/linux/install.sh "$root/"
  finish linux openfx command library plugins
  tar -C "$stage" --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$SOURCE_DATE_EPOCH" \
    -cf - "$(basename "$root")" | gzip -n -9 >"$dist/$(basename "$root").tar.gz"
  package_debian
}

# The same files as Debian packages, with the OpenFX binary for Linux alone.
package_debian() {
  local maintainer source tree
  source=$stage/debian/lomix-$version
  tree=$source/built
  mkdir -p "$source"
  cp -R packaging/debian examples CHANGELOG.md "$source/"
  tools/make_pages.py linux "$version" "$source/pages"
  tools/describe_packages.py notices command library plugins >"$source/debian/copyright"
  maintainer=$(sed -n 's/^Maintainer: //p' "$source/debian/control")
  cat >"$source/debian/changelog" <<END
lomix ($version-1) unstable; urgency=medium

  * Version $version.
  * The library and the plug-ins have packages of their own.

 -- $maintainer  $(date -R --date="@$SOURCE_DATE_EPOCH")

lomix (2.0.0) unstable; urgency=medium

  * One package with everything.

 -- $maintainer  Mon, 23 Nov 2026 12:00:00 +0000
END

  configure_linux "lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)"
  DESTDIR=$tree cmake --install "$linux_build" --prefix /usr --strip >/dev/null
  strip "$tree"/usr/OFX/Plugins/Lomix.ofx.bundle/Contents/Linux-*/Lomix.ofx
  # Where Debian's zsh looks.
  mv "$tree/usr/share/zsh/site-functions" "$tree/usr/share/zsh/vendor-completions"
  set_times "$source"
  (cd "$source" && DEB_BUILD_OPTIONS=noautodbgsym dpkg-buildpackage --build=binary --no-sign) \
    >"$stage/debian/build.log" 2>&1 || { cat "$stage/debian/build.log" >&2; exit 1; }
  rm -f "$dist"/*lomix*.deb
  cp "$stage"/debian/*.deb "$dist/"
}

for system in "${wanted[@]}"; do
  "package_$system"
done
# The folder may also hold packages of other versions, which are left out.
cd "$dist"
find . -maxdepth 1 -type f -name "*omix*[-_]$version-*" -printf '%f\n' | sort >"$stage/packages"
xargs -d '\n' -a "$stage/packages" ../tools/describe_packages.py bill "$version" >"$stage/bill"
mv "$stage/bill" "Lomix-$version.spdx.json"
{ cat "$stage/packages"; echo "Lomix-$version.spdx.json"; } | sort | xargs -d '\n' sha256sum >SHA256SUMS
cat SHA256SUMS
