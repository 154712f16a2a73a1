#!/usr/bin/env bash
# Usage: tools/make_docs.sh
# Builds the command and generates what the documents take from it and from the sources: the pictures
# under docs/images, the schema of preset files, and the tables and ranges between the markers in the
# texts.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/setup.sh
tools/build.sh release --target lomix Lomix
PATH=$PWD/build/release/bin:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
images=docs/images
mkdir -p "$images/parameters" "$images/presets"

lomix testcard "$scratch/card.png" --size 960x540
# Enlarged without smoothing, because single rows matter here.
lomix testcard "$scratch/small.png" --size 240x135

# strip NAME CARD ARGUMENTS...: the pictures of one control.
strip() {
  local name=$1 card=$2
  shift 2
  lomix sheet "$scratch/$card.png" "$images/parameters/$name.jpg" --width 240 --overwrite "$@"
}
strip time-control card --sweep "Time Control=Automatic,Manual" --times 0,0.5,1,1.5,2 \
  --set Time=1 --set "Scan Distortion=25"
strip time card --sweep Time=0,0.5,1,1.5,2 --set "Time Control=Manual" --set "Scan Distortion=25"
strip distortion-mode card --sweep "Distortion Mode=Tile,Stretch" \
  --sweep "Scan Distortion=0,10,25,50,100" --time 0.6
strip signal-distortion card --sweep "Signal Distortion=0,5,15,40,100" --time 0.4
strip scan-distortion card --sweep "Scan Distortion=0,10,25,50,100" --time 1.3
strip horizontal-sync card --sweep "Horizontal Sync=-10,-5,0,5,10" --time 0.5
strip vertical-sync card --sweep "Vertical Sync=-10,-5,0,5,10" --time 0.5
strip bars-overlay card --sweep "Bars Overlay=0:100:5" --time 0.7
strip noise small --sweep Noise=0,10,30,60,100 --time 1
strip scanline-overlay small --sweep "Scanline Overlay=0:100:5" --set "Scanline Thickness=4"
strip scanline-speed small --sweep "Scanline Speed=0,20" --times 0,0.25,0.5,0.75,1 \
  --set "Scanline Thickness=10" --set "Scanline Overlay=60"
strip scanline-thickness small --sweep "Scanline Thickness=1,2,4,8,16" --set "Scanline Overlay=60"
strip blend-w-original card --sweep "Blend w/Original=0:100:5" --preset horizontal-tear --time 1.2

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
  lomix sheet "$scratch/card.png" "$images/presets/$id.jpg" --width 240 --overwrite \
    --preset "$id" --times "$times"
done
lomix sheet "$scratch/card.png" "$images/presets.jpg" --presets --time 1.3 --columns 6 --width 180 \
  --overwrite
lomix plot "$images/profiles.png" --overwrite
tools/draw_rooms.py

tools/fill_docs.py lomix
