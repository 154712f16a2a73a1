#!/bin/sh
# Usage: ./install.sh [--engine rows|reference] [--remove] [PREFIX]
# Puts the lomix command, its module, the library and what programs need to build with it, and the frei0r
# and OpenFX plug-ins under PREFIX, /usr/local by default, or removes them. Both engines draw the same pixels; rows, the default, is the
# fast one.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
engine=rows
remove=no
prefix=/usr/local
while [ "$#" -gt 0 ]; do
  case "$1" in
    --engine)
      engine=${2:-}
      shift
      ;;
    --remove) remove=yes ;;
    -*)
      echo "error: install.sh: '$1' is not known (use --engine or --remove)" >&2
      exit 2
      ;;
    *) prefix=$1 ;;
  esac
  [ "$#" -eq 0 ] || shift
done
case "$engine" in
  rows) module=$here/lib/lomix/Lomix.so ;;
  reference) module=$here/lib/lomix/reference/Lomix.so ;;
  *)
    echo "error: install.sh: there is no engine '$engine' (use rows or reference)" >&2
    exit 2
    ;;
esac

# Names below the prefix of the library's and the plug-ins' files; links are among them.
files() {
  (cd "$here" && find lib/liblomix* lib/cmake/Lomix lib/pkgconfig/lomix.pc include/lomix \
    lib/frei0r-1 share/kdenlive share/lomix share/bash-completion share/zsh share/fish share/man OFX \
    ! -type d)
}

if [ "$remove" = yes ]; then
  rm -f "$prefix/bin/lomix" "$prefix/lib/lomix/Lomix.so"
  files | while read -r file; do rm -f "$prefix/$file"; done
  bundle=OFX/Plugins/Lomix.ofx.bundle
  for folder in lib/lomix lib/cmake/Lomix lib/cmake lib/pkgconfig include/lomix lib/frei0r-1 \
    share/kdenlive/effects share/kdenlive share/lomix/presets share/lomix \
    share/bash-completion/completions share/bash-completion \
    share/zsh/site-functions share/zsh share/fish/vendor_completions.d share/fish share/man/man1 \
    share/man "$bundle"/Contents/* "$bundle/Contents" "$bundle" \
    OFX/Plugins OFX; do
    rmdir "$prefix"/$folder 2>/dev/null || true
  done
  echo "Removed Lomix from '$prefix'."
  exit 0
fi
mkdir -p "$prefix/bin" "$prefix/lib/lomix"
cp "$here/bin/lomix" "$prefix/bin/lomix"
cp "$module" "$prefix/lib/lomix/Lomix.so"
files | while read -r file; do
  mkdir -p "$prefix/$(dirname "$file")"
  cp -P "$here/$file" "$prefix/$file"
done
echo "Installed '$prefix/bin/lomix' (engine $engine), '$prefix/lib/liblomix.so' and the plug-ins."
[ "$prefix" = /usr ] ||
  echo "OpenFX hosts find the bundle with OFX_PLUGIN_PATH='$prefix/OFX/Plugins', or in /usr/OFX/Plugins."
