#!/bin/sh
# The measurements, each beside another program doing the same work in the same run.
# usage: run.sh BUILD_FOLDER [--quick]
set -eu
build=$1
shift
out=${QUILLBAY_BENCH_DIR:-build/bench}
mkdir -p "$out"

echo "File store beside plain libtiff: the same ready stripes, to memory, $(nproc) cores"
memory=$(mktemp -d /dev/shm/quillbay-bench.XXXXXX)
trap 'rm -rf "$memory"' EXIT
"$build/bin/store_bench" "$memory"

echo
echo "The view over a large raster, its lines in a scratch file"
"$build/bin/view_bench"

echo
echo "Whole programs: the same device, page and file"
python3 bench/whole_program.py "$build" "$out" "$@"
