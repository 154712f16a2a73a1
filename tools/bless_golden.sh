#!/usr/bin/env bash
# Usage: tools/bless_golden.sh "REASON"
# Renders the golden frames and stores their hashes as the expected ones. Only for an intended change
# of the picture; the reason is added to the history at the top of the file of hashes.
set -euo pipefail
cd "$(dirname "$0")/.."

reason=$(tr -s '[:space:]' ' ' <<<"$*" | sed 's/^ //; s/ $//')
if [ "$(wc -w <<<"$reason")" -lt 3 ]; then
  echo "error: reason '$reason': too short (say in a few words why the frames change)" >&2
  exit 1
fi

tools/build.sh dev --target golden_frames
file=tests/golden/frames.tsv
bin=build/dev/bin
work=$(mktemp -d)
trap 'rm -rf "$work" "$file.new"' EXIT
for engine in reference rows; do
  build/dev/tests/golden_frames "$bin/$engine/Lomix.so" >"$work/$engine"
done
if ! cmp -s "$work/reference" "$work/rows"; then
  echo "error: golden frames: the two engines disagree, nothing was blessed (make them agree):" >&2
  diff "$work/reference" "$work/rows" >&2 || true
  exit 1
fi

touch "$work/old"
[ ! -f "$file" ] || grep -v '^#' "$file" >"$work/old" || true
if cmp -s "$work/old" "$work/reference"; then
  echo "No frame changed; $file stays as it is."
  exit 0
fi
awk -F '\t' '
  FILENAME == ARGV[1] { old[$1] = $2; next }
  !($1 in old) { print "new      " $1 }
  ($1 in old) && old[$1] != $2 { print "changed  " $1 }
  { delete old[$1] }
  END { for (name in old) print "gone     " name }
' "$work/old" "$work/reference"

{
  if [ -f "$file" ]; then
    grep '^#' "$file"
  else
    echo "# Golden frames: name, tab, 64-bit FNV-1a of the pixels (tests/golden/Frames.h)."
    echo "# Written by tools/bless_golden.sh. When they were blessed, and why:"
  fi
  echo "# $(date -u +%F): $reason"
  cat "$work/reference"
} >"$file.new"
mv "$file.new" "$file"
