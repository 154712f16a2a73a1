#!/bin/sh
# Usage: ./install.sh [--engine rows|reference] [PREFIX]
#        ./install.sh --remove [PREFIX]
# Installs the lomix command, its module, the library and what programs need to build with it, and the frei0r
# and OpenFX plug-ins under PREFIX, /usr/local by default, or removes them. Both engines draw the same pixels;
# rows, the default, is the fast one. PREFIX/share/lomix/installed.txt lists what was installed; no file that
# it does not list is replaced.
set -eu
umask 022
export LC_ALL=C
here=$(cd "$(dirname "$0")" && pwd)

# fail CODE MESSAGE
fail() {
  echo "error: install.sh: $2" >&2
  exit "$1"
}

engine=rows
remove=no
prefix=
while [ "$#" -gt 0 ]; do
  case "$1" in
    --engine)
      case "${2:-}" in
        rows | reference) engine=$2 ;;
        "" | -*) fail 2 "--engine: an engine is missing (use rows or reference)" ;;
        *) fail 2 "there is no engine '$2' (use rows or reference)" ;;
      esac
      shift
      ;;
    --remove) remove=yes ;;
    -* | "") fail 2 "'$1' is not known (use --engine, --remove or a folder)" ;;
    *)
      [ -z "$prefix" ] || fail 2 "'$1': one folder was named before (name one)"
      prefix=$1
      ;;
  esac
  shift
done
prefix=${prefix:-/usr/local}
list=$prefix/share/lomix/installed.txt

# A line in the list is a file, or with a slash at its end a folder that was made for Lomix.
listed() { [ -f "$list" ] && grep -qxF -- "$1" "$list"; }

existing=$prefix
while [ ! -e "$existing" ]; do existing=$(dirname "$existing"); done
[ -d "$existing" ] || fail 1 "'$existing' is no folder (name another one)"
if [ ! -w "$existing" ] || { [ -e "$list" ] && [ ! -w "$list" ]; }; then
  fail 1 "'$prefix': no permission to write there (use sudo, or name a folder of your own such as ~/.local)"
fi

# remove_listed FILE: removes what FILE lists, folders where they are empty.
remove_listed() {
  grep -v '/$' "$1" | while IFS= read -r file; do rm -f -- "$prefix/$file"; done
  grep '/$' "$1" | sort -r | while IFS= read -r folder; do
    folder=$prefix/${folder%/}
    rmdir -- "${folder%/.}" 2>/dev/null || true
  done
}

if [ "$remove" = yes ]; then
  [ -f "$list" ] || fail 1 "'$prefix': Lomix is not installed there (name the folder where it is)"
  copy=$(mktemp)
  trap 'rm -f "$copy"' EXIT
  cp "$list" "$copy"
  remove_listed "$copy"
  echo "Removed Lomix from '$prefix'."
  exit 0
fi

# Lines "FILE SOURCE" with a tab between: the file below PREFIX, and its source in this folder.
files() {
  cd "$here"
  find bin lib include share OFX ! -type d ! -path 'lib/lomix/*' | sort | while IFS= read -r file; do
    printf '%s\t%s\n' "$file" "$file"
  done
  for file in *.html LICENCES.txt; do printf 'share/doc/lomix/%s\t%s\n' "$file" "$file"; done
  if [ "$engine" = rows ]; then source=lib/lomix/Lomix.so; else source=lib/lomix/reference/Lomix.so; fi
  printf 'lib/lomix/Lomix.so\t%s\n' "$source"
}
tab=$(printf '\t')

files | while IFS=$tab read -r file source; do
  target=$prefix/$file
  if { [ -e "$target" ] || [ -L "$target" ]; } && ! listed "$file"; then
    fail 1 "'$target' exists, and this script did not install it (move it away, or name another folder)"
  fi
done || exit 1

# make_folder FOLDER: makes a folder below PREFIX and lists it where it is new.
make_folder() {
  [ ! -d "$prefix/$1" ] || return 0
  [ "$1" = . ] || make_folder "$(dirname "$1")"
  mkdir -p "$prefix/$1"
  new_folders="$new_folders$1/
"
}
new_folders=
make_folder share/lomix
# The list is written first, so that what an interrupted run leaves can be installed over and removed.
[ ! -f "$list" ] || cp "$list" "$list.old"
touch "$list.old"
{ printf '%s' "$new_folders"; echo share/lomix/installed.txt; files | cut -f 1; cat "$list.old"; } |
  sort -u >"$list.new"
mv "$list.new" "$list"
files | while IFS=$tab read -r file source; do
  new_folders=
  make_folder "$(dirname "$file")"
  printf '%s' "$new_folders" >>"$list"
  cp -P "$here/$source" "$prefix/$file.lomix-new"
  mv -f "$prefix/$file.lomix-new" "$prefix/$file"
done

# Files of an earlier version that this one has not.
{ echo share/lomix/installed.txt; files | cut -f 1; } | sort >"$list.new"
grep -v '/$' "$list.old" | sort | comm -23 - "$list.new" | while IFS= read -r file; do
  rm -f -- "$prefix/$file"
done
{ grep '/$' "$list"; cat "$list.new"; } | sort -u >"$list.old"
rm "$list.new"
mv "$list.old" "$list"

echo "Installed '$prefix/bin/lomix' (engine $engine), '$prefix/lib/liblomix.so' and the plug-ins."
[ "$prefix" = /usr ] ||
  echo "OpenFX hosts find the bundle with OFX_PLUGIN_PATH='$prefix/OFX/Plugins', or in /usr/OFX/Plugins."
