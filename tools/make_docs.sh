#!/usr/bin/env bash
# Usage: tools/make_docs.sh
# Builds the command and generates what the documents take from it and from the sources: the pictures
# under docs/images, which ffmpeg compresses, the schema of preset files, and the tables and ranges between
# the markers in the texts.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/setup.sh
tools/build.sh release --target lomix Lomix
PATH=$PWD/build/release/bin:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
images=docs/images
mkdir -p "$images/parameters" "$images/presets"

lomix testcard "$scratch/card.png"
lomix testcard "$scratch/scene.png" --scene
# Shown pixel by pixel, because single rows matter here.
lomix testcard "$scratch/small-card.png" --size 320x180
lomix testcard "$scratch/small-scene.png" --scene --size 320x180

# save PICTURE FILE: writes a picture of grain and captions as a small JPEG.
save() {
  ffmpeg -v error -y -i "$1" -q:v 6 -pix_fmt yuvj420p "$2"
}

# sheet INPUT FILE ARGUMENTS...: a sheet of one of the pictures above.
sheet() {
  lomix sheet "$scratch/$1.png" "$scratch/sheet.png" --width 320 --overwrite "${@:3}"
  save "$scratch/sheet.png" "$2"
}

# The title picture, and the same settings on the card.
for picture in scene card; do
  lomix render "$scratch/$picture.png" "$scratch/$picture-lomix.png" --time 6.2 --quiet \
    --set "Distortion Mode=Tile" --set "Scan Distortion=22" --set "Signal Distortion=3" \
    --set "Bars Overlay=22" --set Noise=14 --set "Scanline Overlay=22" --set "Scanline Thickness=2"
  save "$scratch/$picture-lomix.png" "$images/$picture-lomix.jpg"
done
save "$scratch/scene.png" "$images/scene.jpg"
cp "$scratch/card.png" "$images/card.png"

# strip NAME PICTURE ARGUMENTS...: the pictures of one control.
strip() {
  sheet "$2" "$images/parameters/$1.jpg" "${@:3}"
}
strip time-control scene --sweep "Time Control=Automatic,Manual" --times 0,0.5,1,1.5,2 \
  --set Time=1 --set "Scan Distortion=25"
strip time scene --sweep Time=0,0.5,1,1.5,2 --set "Time Control=Manual" --set "Scan Distortion=25"
strip distortion-mode card --sweep "Distortion Mode=Tile,Stretch" \
  --sweep "Scan Distortion=0,10,25,50,100" --time 0.6
strip signal-distortion small-card --sweep "Signal Distortion=0,5,15,40,100" --time 0.4
strip scan-distortion scene --sweep "Scan Distortion=0,10,25,50,100" --time 6.2
strip horizontal-sync scene --sweep "Horizontal Sync=-10,-5,0,5,10" --time 0.5
strip vertical-sync card --sweep "Vertical Sync=-10,-5,0,5,10" --time 0.5
strip bars-overlay scene --sweep "Bars Overlay=0:100:5" --time 0.7
strip noise small-scene --sweep Noise=0,10,30,60,100 --time 1
strip scanline-overlay small-scene --sweep "Scanline Overlay=0:100:5" --set "Scanline Thickness=4"
strip scanline-speed small-card --sweep "Scanline Speed=0,20" --times 0,0.25,0.5,0.75,1 \
  --set "Scanline Thickness=10" --set "Scanline Overlay=60"
strip scanline-thickness small-scene --sweep "Scanline Thickness=1,2,4,8,16" \
  --set "Scanline Overlay=60"
strip blend-w-original scene --sweep "Blend w/Original=0:100:5" --preset horizontal-tear --time 1.2

for preset in presets/*.json; do
  id=$(basename "$preset" .json)
  # At times at which the keys show.
  case $id in
    channel-change) times=0.2,0.6,1.1,1.6 ;;
    dying-tape) times=0.8,1.6,2.6,3.7 ;;
    passing-storm) times=0.5,0.75,1.2,2.3 ;;
    signal-drop) times=0.2,0.8,1.4,2 ;;
    slipping-hold) times=0.5,1.25,1.6,3.2 ;;
    *) times=0.5,1.2,2.1,3.2 ;;
  esac
  sheet scene "$images/presets/$id.jpg" --preset "$id" --times "$times"
done
sheet scene "$images/presets.jpg" --presets --time 1.3 --columns 3
sheet card "$images/presets-card.jpg" --presets --time 1.3 --columns 3
lomix plot "$images/profiles.png" --overwrite
tools/draw_rooms.py

tools/fill_docs.py lomix
