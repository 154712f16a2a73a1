#!/bin/sh
# Usage: ./install.sh [--engine rows|reference] [--remove] [PREFIX]
# Puts the lomix command and its module under PREFIX, /usr/local by default, or takes them away. Both
# engines draw the same pixels; rows, the default, is the fast one.
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

if [ "$remove" = yes ]; then
  rm -f "$prefix/bin/lomix" "$prefix/lib/lomix/Lomix.so"
  rmdir "$prefix/lib/lomix" 2>/dev/null || true
  echo "Removed Lomix from '$prefix'."
  exit 0
fi
mkdir -p "$prefix/bin" "$prefix/lib/lomix"
cp "$here/bin/lomix" "$prefix/bin/lomix"
cp "$module" "$prefix/lib/lomix/Lomix.so"
echo "Installed '$prefix/bin/lomix' (engine $engine)."
