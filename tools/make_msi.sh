#!/usr/bin/env bash
# Usage: tools/make_msi.sh STAGE ACTIONS VERSION OUTPUT.msi
# Makes the Windows installer of packaging/windows/Lomix.wxs from the files in the folder STAGE and the
# custom actions in the library ACTIONS. The same files, with the same times, give the same bytes.
set -euo pipefail

if [ "$#" -ne 4 ]; then
  echo "error: make_msi.sh: expected four arguments (STAGE ACTIONS VERSION OUTPUT.msi)" >&2
  exit 2
fi
script=$(cd "$(dirname "$0")/.." && pwd)/packaging/windows/Lomix.wxs
stage=$1 actions=$2 version=$3 output=$4

# Packages of other contents are other products, so that one replaces the other.
contents=$( (cd "$stage" && find . -type f | sort | xargs -d '\n' sha256sum) | cat - "$actions" "$script" |
  sha256sum | cut -d ' ' -f 1)
code() { python3 -c 'import sys, uuid; print(str(uuid.uuid5(uuid.NAMESPACE_OID, sys.argv[1])).upper())' "$1"; }
licence=$(cat "$(dirname "$script")/../../LICENCE.txt")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# wixl finds files beside its script only.
cp -a "$stage" "$work/stage"
cp -a "$actions" "$work/InstallerActions.dll"
cp -a "$script" "$work/"
# It writes the present time and a random code of the package into the file.
at=(faketime -f "$(date -u --date="@${SOURCE_DATE_EPOCH:-1700000000}" '+%Y-%m-%d %H:%M:%S')")
export TZ=UTC
(cd "$work" && "${at[@]}" wixl --arch x64 -o made.msi -D Version="$version" -D Licence="$licence" \
  -D NextVersion="${version%.*}.$((${version##*.} + 1))" \
  -D ProductCode="$(code "product $version $contents")" Lomix.wxs)
"${at[@]}" msibuild "$work/made.msi" \
  -s Lomix "The Lomix maintainers" "x64;1033" "{$(code "package $version $contents")}"

# A property that an unprivileged user may pass on, too.
"${at[@]}" msibuild "$work/made.msi" -q \
  "UPDATE \`Property\` SET \`Value\` = 'NEWERVERSION;OLDERVERSION;PLUGINFOLDER'
    WHERE \`Property\` = 'SecureCustomProperties'"
mv "$work/made.msi" "$output"
