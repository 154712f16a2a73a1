#!/usr/bin/env bash
# Usage: tools/check_memory.sh [FRAMES]
# Renders FRAMES small frames (5000 by default) of a sequence and of a video, and looks at the process
# meanwhile. Fails where its memory or the number of its open files grows in the second half of a run.
set -euo pipefail
cd "$(dirname "$0")/.."

frames=${1:-5000}
tools/build.sh dev --target lomix
lomix=$PWD/build/dev/bin/lomix
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Prints the resident kilobytes and the open files of a process, a line for each tenth of a second.
watch() {
  while kb=$(awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" 2>/dev/null) && [ -n "$kb" ]; do
    echo "$kb $(find "/proc/$1/fd" -mindepth 1 2>/dev/null | wc -l)"
    sleep 0.1
  done
}

# Runs lomix with these arguments. Compares the most of each half of the run, but for its first quarter: the
# threads have a varying number of files open for a moment, a leak would have one for each frame.
flat() {
  local name=$1
  shift
  "$lomix" "$@" --quiet --no-fsync &
  local process=$!
  watch "$process" >samples
  wait "$process"
  awk -v name="$name" '
    { kb[NR] = $1; files[NR] = $2 }
    END {
      if (NR < 10) { print "error: memory: " name " was too short (take more frames)"; exit 1 }
      for (i = int(NR / 4) + 1; i < NR; ++i) {
        half = i > NR * 5 / 8
        if (kb[i] > mostKb[half]) mostKb[half] = kb[i]
        if (files[i] > mostFiles[half]) mostFiles[half] = files[i]
      }
      printf "%s: %d MB and %d files at most, then %d MB and %d\n", name, mostKb[0] / 1024, mostFiles[0],
             mostKb[1] / 1024, mostFiles[1]
      if (mostKb[1] > mostKb[0] * 1.03 + 2048) { print "error: memory: " name ": it grows"; exit 1 }
      if (mostFiles[1] > mostFiles[0] + 16) { print "error: memory: " name ": open files grow"; exit 1 }
    }' samples
}

"$lomix" testcard card.png --size 64x36 --no-fsync
flat "one picture" render card.png 'in.#####.png' --frames "1-$frames" --set Noise=30
flat "sequence" render 'in.#####.png' 'out.#####.png' --set "Vertical Sync=20"
flat "sequence of float" render 'in.#####.png' 'deep.#####.exr' --depth 32 --set Noise=20
flat "sequence to video" render 'in.#####.png' film.mkv --set Noise=20 --threads 1
flat "video" render film.mkv again.mkv --set "Scan Distortion=20"
