#!/bin/sh
# Scans large drawings on the simulated scanner and says what it made and where.
# usage: demo.sh BUILD_FOLDER [OUTPUT_FOLDER]
set -eu
scan=$1/bin/quillbay-scan
out=${2:-${QUILLBAY_DEMO_DIR:-build/demo}}
rm -rf "$out"
mkdir -p "$out"

step() {
  echo
  echo "-- $1"
  shift
  echo "   quillbay-scan $*"
  "$scan" "$@"
}

step "an A1 plan in colour, 200 dpi" \
  -d "sim:size=841x594,at=20x30,drawing=plan,seed=3" --mode rgb --resolution 200 --area custom:0,0,881,654 \
  -o "$out/plan.tif"
step "the same plan in black and white, 400 dpi, CCITT G4" \
  -d "sim:size=841x594,at=20x30,drawing=plan,seed=3" --mode bw-threshold --resolution 400 --area custom:0,0,881,654 \
  -o "$out/plan-bw.tif"
step "a map in grey as PNG" \
  -d "sim:size=420x594,at=40x20,drawing=map,seed=9" --mode grey --resolution 150 --area custom:0,0,500,634 \
  -o "$out/map.png"
step "a feeder of five sheets into one multi-page file" \
  -d "sim:size=420x297,at=30x10,count=5,seed=11" --mode grey --resolution 150 --area custom:0,0,480,317 \
  --batch --multipage -o "$out/sheets.tif"
step "a roll 900 mm wide and 5 m long, scanned to its end" \
  -d "sim:size=880x5000,at=10x0,seed=5" --mode grey --resolution 200 --area auto-width \
  -o "$out/roll.tif"

echo
echo "Made in $(cd "$out" && pwd):"
(cd "$out" && ls -l | awk 'NR > 1 { printf "  %-14s %8.1f MB\n", $NF, $5 / 1e6 }')
echo "Open them with any image viewer; 'tiffinfo FILE' prints their tags."
