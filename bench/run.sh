#!/bin/sh
# The measurements, those of storing and of whole programs beside another program doing the same work in the same run.
# At the end a table of what is aimed at. docs/measurements.md says what the figures mean.
# usage: run.sh BUILD_FOLDER [--quick]
set -eu
build=$1
shift
out=${QUILLBAY_BENCH_DIR:-build/bench}
mkdir -p "$out"
log=$out/figures.txt
memory=$(mktemp -d /dev/shm/quillbay-bench.XXXXXX)
trap 'rm -rf "$memory"' EXIT

machine() {
  echo "$(nproc) cores, $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1), load $(cut -d' ' -f1-3 /proc/loadavg)"
}

measure() {
  machine
  echo
  echo "File store beside plain libtiff: the same ready stripes, to memory"
  "$build/bin/store_bench" "$memory"

  echo
  echo "File formats beside other programs: the same pixels, from memory to memory, two cores"
  /usr/bin/python3 bench/format_bench.py "$build" "$memory" "$@"

  echo
  echo "Killed at random moments of a batch of 100 pages into one file: what is left"
  /usr/bin/python3 bench/kill_bench.py "$build" "$out/kills"

  echo
  echo "The picture of a scan on the screen beside libvips, one thread each, the same pixels in memory"
  "$build/bin/reduction_bench" "$memory"

  echo
  echo "Straightening beside leptonica and libvips, one thread each, the same pixels in memory"
  "$build/bin/straighten_bench" "$memory"

  echo
  echo "A polygon erased on pages of A0 beside leptonica, one thread each"
  "$build/bin/erase_bench"

  echo
  echo "Bound detection beside leptonica, and beside a crop by ImageMagick where it is installed"
  "$build/bin/detect_bench" "$memory"

  echo
  echo "Sheets that lie crooked on the simulated scanner: found, straightened and written, beside the truth"
  /usr/bin/python3 bench/found_sheets.py "$build" "$out" --count 100

  echo
  echo "What straightening adds to a scan of A1 in colour at 400 dpi"
  /usr/bin/python3 bench/straighten_share.py "$build" "$out" "$@"

  echo
  echo "Palettes beside pngquant, ImageMagick and leptonica: without dither, each pixel at its nearest entry"
  "$build/bin/palette_bench" "$memory"

  echo
  echo "Grey, colour and palette lines of a scanner beside libvips and ImageMagick, one thread each"
  "$build/bin/color_bench" "$memory"

  echo
  echo "The view over large rasters, their lines in a scratch file"
  "$build/bin/view_bench" 2>"$out/view.err"

  echo
  echo "Rubber bands over a large raster: from the pointer's move to the picture"
  "$build/bin/band_bench" 2>"$out/band.err"

  echo
  echo "The running dashes of the preview"
  "$build/bin/preview_bench" 2>"$out/preview.err"

  echo
  echo "The panel and the program"
  "$build/bin/panel_bench" "$@" 2>"$out/panel.err"

  echo
  echo "Whole programs: the same device, page and file"
  python3 bench/whole_program.py "$build" "$out" "$@"

  echo
  echo "A page printed while it is scanned, beside lp of a ready file"
  /usr/bin/python3 bench/print_bench.py "$build" "$out" "$@"

  echo
  echo "done"
}

measure "$@" | tee "$log"
# A pipe hides what failed in it.
[ "$(tail -1 "$log")" = done ] || {
  cat "$out/view.err" "$out/band.err" "$out/preview.err" "$out/panel.err" >&2
  exit 1
}
echo
echo "What is aimed at ($(machine)); \"its thread\" leaves out what other programs took"
sed -n 's/^aim  //p' "$log"
