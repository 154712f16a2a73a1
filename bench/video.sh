#!/usr/bin/env bash
# Usage: bench/video.sh [FRAMES] [TURNS]
# Times lomix against ffmpeg with the filters that one would type for such a look, on the same clip
# of 1920x1080 to the same codec, in turns: raw to raw and H.264 to FFV1. Prints seconds, their
# quotient for each turn, and how lomix divides its time. Builds lomix where it is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

frames=${1:-300}
turns=${2:-3}
lomix=build/release/bin/lomix
[ -x "$lomix" ] || tools/build.sh release --target lomix
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

size=1920x1080
filters="scroll=vertical=0.01,rgbashift=rh=4:bh=-4,noise=alls=20:allf=t,drawgrid=w=iw:h=4:t=2:c=black@0.3"
look=(--set "Vertical Sync=5" --set "Scan Distortion=20" --set "Noise=20"
  --set "Scanline Overlay=30" --set "Scanline Thickness=2")
source=(-f lavfi -i "testsrc2=s=$size:r=25:d=$(((frames + 24) / 25))" -frames:v "$frames")
ffmpeg -v error "${source[@]}" -preset veryfast -pix_fmt yuv420p "$work/clip.mp4"
ffmpeg -v error -i "$work/clip.mp4" -f rawvideo -pix_fmt rgba "$work/clip.rgba"

by_ffmpeg_raw() {
  ffmpeg -v error -y -f rawvideo -pix_fmt rgba -s $size -r 25 -i - -vf "$filters" \
    -f rawvideo -pix_fmt rgba - <"$work/clip.rgba" >/dev/null
}
by_lomix_raw() {
  "$lomix" render - - --raw $size:rgba --fps 25 "${look[@]}" --quiet --report "$work/report.json" \
    <"$work/clip.rgba" >/dev/null
}
by_ffmpeg_coded() {
  ffmpeg -v error -y -i "$work/clip.mp4" -vf "$filters" -c:v ffv1 -level 3 -slices 16 -slicecrc 1 \
    -g 1 -pix_fmt bgr0 "$work/ffmpeg.mkv"
}
by_lomix_coded() {
  "$lomix" render "$work/clip.mp4" "$work/lomix.mkv" "${look[@]}" --overwrite --quiet \
    --report "$work/report.json"
}
seconds() {
  local start
  start=$(date +%s.%N)
  "$@"
  awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN { print b - a }'
}

echo "$frames frames of $size, $(nproc) processors, $(ffmpeg -version | head -1 | cut -d' ' -f1-3)"
for kind in raw coded; do
  for turn in $(seq "$turns"); do
    theirs=$(seconds "by_ffmpeg_$kind")
    ours=$(seconds "by_lomix_$kind")
    printf '%-5s turn %d: ffmpeg %6.2f s, lomix %6.2f s, quotient %.3f\n' \
      "$kind" "$turn" "$theirs" "$ours" "$(awk -v a="$ours" -v b="$theirs" 'BEGIN { print a / b }')"
  done
  grep -A5 '"seconds"' "$work/report.json" | tr -d '\n {}'
  echo
done
